#pragma once

#include "foundation/NmDVector.h"

/// Symmetric operator that is never formed as a matrix: diagonal * identity + the sum over k of
/// weights[k] * vectors[k] * transpose(vectors[k]).
template <class T>
class NmTensorProductMatrix {
 public:
  int dimension;  ///< length of every vector
  NmDArray<NmDVector<T>> vectors;
  NmDArray<T> weights;
  T diagonal = 1;

  explicit NmTensorProductMatrix(int size) : dimension(size) {}

  /// result = this operator times `v`, which may be the same object. Returns 0, with `result`
  /// unchanged, if a length or the number of weights does not match; otherwise 1.
  int multVec(const NmDVector<T>& v, NmDVector<T>& result) const;

  /// Appends copies of both. Returns 0 if the length does not match, otherwise 1.
  int addEntry(const NmDVector<T>& v, const T& weight);

 private:
  bool fits(const NmDVector<T>& v) const;
};

extern template class NmTensorProductMatrix<double>;
