#include "foundation/NmDMatrix.h"

#include <cstdint>
#include <cstring>
#include <utility>

#include "foundation/NmDArray.h"
#include "foundation/NmLogFile.h"

namespace {

std::size_t bytesOf(int rows, int cols, std::size_t elementSize) {
  return voxreg::detail::elementBytes(static_cast<std::int64_t>(rows) * cols, elementSize);
}

}  // namespace

template <class T>
NmDMatrix<T>::NmDMatrix(const NmDMatrix& other) : NmDMatrix() {
  *this = other;
}

template <class T>
NmDMatrix<T>::NmDMatrix(NmDMatrix&& other) noexcept
    : nRows(std::exchange(other.nRows, 0)),
      nCols(std::exchange(other.nCols, 0)),
      data(std::exchange(other.data, nullptr)) {}

template <class T>
NmDMatrix<T>& NmDMatrix<T>::operator=(const NmDMatrix& other) {
  if (&other == this) return *this;
  resize(other.nRows, other.nCols);
  const std::size_t bytes = bytesOf(nRows, nCols, sizeof(T));
  if (bytes > 0) std::memcpy(data, other.data, bytes);
  return *this;
}

template <class T>
NmDMatrix<T>& NmDMatrix<T>::operator=(NmDMatrix&& other) noexcept {
  std::swap(nRows, other.nRows);
  std::swap(nCols, other.nCols);
  std::swap(data, other.data);
  return *this;
}

template <class T>
void NmDMatrix<T>::resize(int rows, int cols) {
  rows = rows < 0 ? 0 : rows;
  cols = cols < 0 ? 0 : cols;
  if (rows == nRows && cols == nCols) return;
  data = static_cast<T*>(nmrealloc(data, bytesOf(rows, cols, sizeof(T))));
  nRows = rows;
  nCols = cols;
}

template <class T>
NmDMatrix<T>& NmDMatrix<T>::operator*=(const NmDMatrix& b) {
  if (nCols != b.nRows) {
    getTheLogInstance().errorf(
        "NmDMatrix:operator*: Can not multiply %dx%d matrix by %dx%d matrix.\n", nRows, nCols,
        b.nRows, b.nCols);
    return *this;
  }
  T* const product = static_cast<T*>(nmmalloc(bytesOf(nRows, b.nCols, sizeof(T))));
  for (int i = 0; i < nRows; ++i)
    for (int j = 0; j < b.nCols; ++j) {
      T sum = 0;
      for (int k = 0; k < nCols; ++k) sum += (*this)(i, k) * b(k, j);
      product[static_cast<std::int64_t>(i) * b.nCols + j] = sum;
    }
  const int columns = b.nCols;  // b may be this matrix
  nmfree(data);
  data = product;
  nCols = columns;
  return *this;
}

template class NmDMatrix<double>;
