#pragma once

#include <cstdint>

#include "foundation/NmMemory.h"

/// Dense row-major matrix of doubles, deep-copied. `data` holds nRows * nCols values or is null.
template <class T>
class NmDMatrix {
 public:
  int nRows = 0;
  int nCols = 0;
  T* data = nullptr;

  NmDMatrix() noexcept = default;
  NmDMatrix(const NmDMatrix& other);
  NmDMatrix(NmDMatrix&& other) noexcept;
  NmDMatrix& operator=(const NmDMatrix& other);
  NmDMatrix& operator=(NmDMatrix&& other) noexcept;
  ~NmDMatrix() { nmfree(data); }

  /// Sets a new shape (negative counts as 0) with undefined contents; an equal shape changes
  /// nothing. Throws NmMemoryException, with the matrix unchanged, if memory runs out.
  void resize(int rows, int cols);

  /// Matrix product: this = this * `b`. A shape that does not match leaves this matrix unchanged
  /// and logs an error.
  NmDMatrix& operator*=(const NmDMatrix& b);

  T& operator()(int row, int column) {
    return data[static_cast<std::int64_t>(row) * nCols + column];
  }
  const T& operator()(int row, int column) const {
    return data[static_cast<std::int64_t>(row) * nCols + column];
  }
};

extern template class NmDMatrix<double>;
