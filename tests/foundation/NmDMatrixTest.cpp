#include "foundation/NmDMatrix.h"

#include <gtest/gtest.h>

#include <limits>
#include <utility>

#include "foundation/NmException.h"
#include "tests/support/LogCapture.h"

namespace {

NmDMatrix<double> counting(int rows, int columns) {
  NmDMatrix<double> matrix;
  matrix.resize(rows, columns);
  for (int i = 0; i < rows * columns; ++i) matrix.data[i] = i + 1;
  return matrix;
}

TEST(NmDMatrix, MultipliesWhatFits) {
  NmDMatrix<double> a = counting(2, 3);
  a *= counting(3, 1);  // (1 2 3; 4 5 6) (1 2 3)'
  EXPECT_EQ(a.nCols, 1);
  EXPECT_EQ(a(0, 0), 14.0);
  EXPECT_EQ(a(1, 0), 32.0);
  NmDMatrix<double> square = counting(2, 2);
  square *= square;  // (1 2; 3 4) squared
  EXPECT_EQ(square(0, 0), 7.0);
  EXPECT_EQ(square(1, 1), 22.0);

  LogCapture log;
  a = counting(2, 3);
  const double* const block = a.data;
  a *= counting(2, 4);
  EXPECT_EQ(log.error(), "NmDMatrix:operator*: Can not multiply 2x3 matrix by 2x4 matrix.");
  EXPECT_EQ(a.data, block);
  EXPECT_EQ(a.nCols, 3);
}

TEST(NmDMatrix, ResizesAndCopiesDeeply) {
  NmDMatrix<double> a = counting(2, 3);
  const double* const block = a.data;
  a.resize(2, 3);
  EXPECT_EQ(a.data, block);
  constexpr int huge = std::numeric_limits<int>::max();
  EXPECT_THROW(a.resize(huge, huge), NmMemoryException);
  EXPECT_EQ(a.nRows, 2);
  NmDMatrix<double> copy = a;
  EXPECT_NE(copy.data, a.data);
  EXPECT_EQ(copy(1, 2), 6.0);
  a.resize(-1, 4);
  copy = std::move(a);
  EXPECT_EQ(copy.nRows, 0);
  EXPECT_EQ(copy.nCols, 4);
}

}  // namespace
