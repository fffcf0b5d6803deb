#include "transforms/NonAffineRegistration.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace {

using nonAffineRegistration::decomposeMatrix;
using nonAffineRegistration::findRoot;

NmDMatrix<double> matrixOf(const double (&f)[3][3]) {
  NmDMatrix<double> matrix;
  matrix.resize(3, 3);
  std::copy_n(&f[0][0], 9, matrix.data);
  return matrix;
}

TEST(FindRoot, KnownPolynomials) {
  EXPECT_EQ(nonAffineRegistration::polynomial(2, 1, 2, 3, 4), 49.0);
  EXPECT_EQ(nonAffineRegistration::derivative(2, 2, 3, 4), 62.0);
  EXPECT_NEAR(findRoot(-1, 1, 0, 0), 1.0, 1e-9);
  EXPECT_NEAR(findRoot(-6, 11, -6, 1), 1.0, 1e-9);
  EXPECT_NEAR(findRoot(-50, 0, 0, 1), std::cbrt(50.0), 1e-9);
  // Roots 0.54, 1.5 and 10: the first step leads far beyond all of them, and is halved.
  EXPECT_NEAR(findRoot(-8.1, 21.21, -12.04, 1), 1.5, 1e-9);
  // Too flat for Newton: tenths upwards to 2.01, then back to 1.9975 and on, by halves of a tenth.
  EXPECT_NEAR(findRoot(-2e-7, 1e-7, 0, 0), 2.000625, 1e-7);
  // No root and no slope: x only shifts, after the last start too.
  EXPECT_EQ(findRoot(1, 0, 0, 0), 1.01 - 0.5 + 1.0 - 2.0);
}

TEST(FindRoot, EndsWithANumberForAnyCoefficients) {
  const double values[] = {0, -1, 2e-7, 1e-310, 1e300, -1e300, HUGE_VAL, std::nan("")};
  for (int n = 0; n < 8 * 8 * 8 * 8; ++n)
    EXPECT_TRUE(std::isfinite(
        findRoot(values[n & 7], values[n >> 3 & 7], values[n >> 6 & 7], values[n >> 9])))
        << n;
}

TEST(DecomposeMatrix, ByHand) {
  // Half of row 2 in row 1, minus row 2 in row 0, twice the rest (0, 3, 0) of row 1 in row 0.
  NmDMatrix<double> matrix = matrixOf({{5, 6, -2}, {0, 3, 1}, {0, 0, 2}});
  for (const double det : {30.0, -30.0}) {
    NmVec3d scale;
    NmVec3d shear;
    EXPECT_EQ(decomposeMatrix(matrix, det, scale, shear), det > 0);
    EXPECT_EQ(scale, NmVec3d(5, 3, 2));
    EXPECT_EQ(shear, NmVec3d(0.25, -0.5, 1));
  }
}

// A matrix of small determinant passes only with eigenvalues within a factor of 10000.
TEST(DecomposeMatrix, LooksAtTheEigenvaluesOfSmallDeterminants) {
  const struct {
    double f[3][3];
    double det;
    bool splits;
  } cases[] = {
      {{{0.01, 0, 0}, {0, 0.01, 0}, {0, 0, 0.01}}, 1e-6, true},
      {{{0.001, 0, 0}, {0, 0.2, 0}, {0, 0, 0.3}}, 6e-5, true},
      {{{1e-6, 0, 0}, {0, 1, 0}, {0, 0, 1}}, 1e-6, false},
      {{{0, 1e-3, 0}, {-1e-3, 0, 0}, {0, 0, 1}}, 1e-6, true},
      {{{0, 1e-5, 0}, {-1e-5, 0, 0}, {0, 0, 1}}, 1e-10, false},
      {{{0, 1, 0}, {-1, 0, 0}, {0, 0, 1e-6}}, 1e-6, false},
      {{{1, 0, 0}, {0, 1, 0}, {0, 0, 0}}, 0, false},
      {{{1, 0, 0}, {0, 1, 0}, {0, 0, 0}}, 1, false},
      {{{1, 0, 0}, {0, 0, 1}, {0, 0, 1}}, 1, false},
      {{{std::nan(""), 0, 0}, {0, 1, 0}, {0, 0, 1}}, 0, false},
      {{}, 0, false},
  };
  for (const auto& c : cases) {
    NmDMatrix<double> matrix = matrixOf(c.f);
    NmVec3d scale(7, 7, 7);
    NmVec3d shear(7, 7, 7);
    EXPECT_EQ(decomposeMatrix(matrix, c.det, scale, shear), c.splits) << c.f[0][0] << ' ' << c.det;
    EXPECT_EQ(shear, NmVec3d());
    EXPECT_TRUE(c.splits || scale == NmVec3d(1, 1, 1));
  }
  NmDMatrix<double> flat;
  flat.resize(2, 3);
  NmVec3d scale;
  NmVec3d shear;
  EXPECT_FALSE(decomposeMatrix(flat, 1.0, scale, shear));
}

}  // namespace
