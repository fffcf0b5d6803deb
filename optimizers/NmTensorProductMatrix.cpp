#include "optimizers/NmTensorProductMatrix.h"

#include <algorithm>
#include <cstdint>

#include "optimizers/vectorArithmetic.h"

template <class T>
int NmTensorProductMatrix<T>::multVec(const NmDVector<T>& v, NmDVector<T>& result) const {
  const bool allFit = std::all_of(vectors.data, vectors.data + vectors.size,
                                  [this](const NmDVector<T>& entry) { return fits(entry); });
  if (!fits(v) || !allFit || vectors.size != weights.size) return 0;
  if (&v == &result) {
    NmDVector<T> product;
    multVec(v, product);
    result = product;
    return 1;
  }
  result.resize(v.size);
  for (std::int64_t i = 0; i < v.size; ++i) result[i] = diagonal * v[i];
  for (std::int64_t k = 0; k < vectors.size; ++k) {
    const T along = voxreg::detail::dot(v, vectors[k]);
    voxreg::detail::addMultiple(result, weights[k] * along, vectors[k]);
  }
  return 1;
}

template <class T>
int NmTensorProductMatrix<T>::addEntry(const NmDVector<T>& v, const T& weight) {
  if (!fits(v)) return 0;
  vectors.insert(vectors.size, 1, &v);
  weights.insert(weights.size, 1, &weight);
  return 1;
}

template <class T>
bool NmTensorProductMatrix<T>::fits(const NmDVector<T>& v) const {
  return v.size == dimension;
}

template class NmTensorProductMatrix<double>;
