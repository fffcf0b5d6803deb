#include "optimizers/NmTensorProductMatrix.h"

#include <gtest/gtest.h>

#include <initializer_list>

namespace {

NmDVector<double> vector(std::initializer_list<double> values) {
  NmDVector<double> v;
  v.insert(0, static_cast<long>(values.size()), values.begin());
  return v;
}

// 2 * identity + 3 * u u' - w w' with u = (1, 2, 0) and w = (0, 1, -1), times (1, 1, 2).
TEST(NmTensorProductMatrix, MultipliesAsTheMatrixItStandsForWhatFits) {
  NmTensorProductMatrix<double> matrix(3);
  matrix.diagonal = 2.0;
  EXPECT_EQ(matrix.addEntry(vector({1, 2, 0}), 3.0), 1);
  EXPECT_EQ(matrix.addEntry(vector({0, 1, -1}), -1.0), 1);
  EXPECT_EQ(matrix.addEntry(vector({1, 1}), 1.0), 0);
  NmDVector<double> v = vector({1, 1, 2});
  NmDVector<double> result;
  ASSERT_EQ(matrix.multVec(v, result), 1);
  ASSERT_EQ(matrix.multVec(v, v), 1);
  for (long i = 0; i < 3; ++i)
    EXPECT_TRUE(result[i] == vector({11, 21, 3})[i] && v[i] == result[i]);
  EXPECT_EQ(matrix.multVec(vector({1, 1}), result), 0);
  matrix.weights.resize(3);
  EXPECT_EQ(matrix.multVec(vector({1, 1, 1}), result), 0);
  const NmDVector<double> two = vector({1, 1});
  matrix.vectors.insert(2, 1, &two);
  EXPECT_EQ(matrix.multVec(vector({1, 1, 1}), result), 0);
  EXPECT_EQ(result[1], 21.0);
}

}  // namespace
