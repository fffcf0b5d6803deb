#include "foundation/NmMat4d.h"

#include <cmath>
#include <limits>
#include <random>

#include "tests/support/expectNear.h"

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

NmMat4d randomMatrix(std::mt19937& random, bool affine) {
  std::uniform_real_distribution<double> value(-2.0, 2.0);
  NmMat4d a;
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < (affine ? 3 : 4); ++j) a.m[i][j] = value(random);
  return a;
}

NmMat4d product(NmMat4d a, const NmMat4d& b) {
  return a.multRight(b);
}

NmMat4d diagonal(double x, double y, double z) {
  NmMat4d a;
  a.setScale(NmVec3d(x, y, z));
  return a;
}

TEST(NmMat4d, FirstFactorActsFirst) {
  NmMat4d move;
  move.setTranslate(NmVec3d(1, 2, 3));
  NmVec3d p;
  product(move, diagonal(2, 3, 4)).multVecMatrix(NmVec3d(1, 1, 1), p);
  EXPECT_EQ(p, NmVec3d(4, 9, 16));
  move.multLeft(diagonal(2, 3, 4)).multVecMatrix(NmVec3d(1, 1, 1), p);
  EXPECT_EQ(p, NmVec3d(3, 5, 7));
  move.setTranslate(NmVec3f(1, 0, 0));
  move.multRight(move).multLeft(move).multVecMatrix(NmVec3d(), p);
  EXPECT_EQ(p, NmVec3d(4, 0, 0));
}

TEST(NmMat4d, PointsAreDividedByWDirectionsAndHomogeneousPointsAreNot) {
  const NmMat4d a(1, 0, 0, 1, 0, 2, 0, 0, 0, 0, 4, 0, 10, 20, 30, 2);
  const auto image = [&](auto p) {
    a.multVecMatrix(p, p);
    return p;
  };
  const auto transposed = [&](auto p) {
    a.multMatrixVec(p, p);
    return p;
  };
  EXPECT_EQ(image(NmVec3f(2, 1, 1)), NmVec3f(3, 5.5f, 8.5f));
  EXPECT_EQ(image(NmVec4f(2, 1, 1, 1)), NmVec4f(12, 22, 34, 4));
  EXPECT_EQ(transposed(NmVec3f(2, 1, 1)), NmVec3f(3.0f / 72, 2.0f / 72, 4.0f / 72));
  EXPECT_EQ(transposed(NmVec4f(2, 1, 1, 1)), NmVec4f(3, 2, 4, 72));
  NmVec3d d(2, 1, 1);
  a.multDirMatrix(d, d);
  EXPECT_EQ(d, NmVec3d(2, 2, 4));
  NmMat4d flat;
  flat.m[3][3] = 0.0;
  flat.multVecMatrix(NmVec3d(1, -1, 0), d);
  EXPECT_EQ(d.x, std::numeric_limits<double>::infinity());
}

// 4097^2 = 16785409 is odd and above 2^24, so single precision makes it 16785408.
TEST(NmMat4d, DeterminantsAreFormedInSinglePrecision) {
  const NmMat4d a = diagonal(1.0 + 1e-9, 4097, 4097);
  EXPECT_EQ(a.det3(), 16785408.0);
  EXPECT_EQ(a.det3(1, 0, 2, 0, 1, 2), -16785408.0);
  EXPECT_EQ(a.det4(), (1.0 + 1e-9) * 16785408.0);
}

TEST(NmMat4d, InverseUndoesAffineAndProjectiveMatrices) {
  std::mt19937 random(1);
  for (int n = 0; n < 200; ++n) {
    const NmMat4d a = randomMatrix(random, n % 2 == 0);
    if (std::fabs(a.det4()) < 0.1) continue;
    expectNear(product(a, a.inverse()), NmMat4d::identity(), 1e-11);
    expectNear(product(a.inverse(), a), NmMat4d::identity(), 1e-11);
  }
}

TEST(NmMat4d, AffineInverseJudgesTheDeterminantRelatively) {
  NmMat4d small = diagonal(1e-4, 1e-4, 1e-4);
  small.m[3][0] = 2.0;
  EXPECT_TRUE(small.affine_inverse(small, small));
  EXPECT_NEAR(small.m[0][0], 1e4, 1e-8);
  EXPECT_NEAR(small.m[3][0], -2e4, 1e-8);

  NmMat4d projective, scaledW, notANumber;
  projective.m[0][3] = 1e-30;
  scaledW.m[3][3] = 2.0;
  notANumber.m[0][1] = nan;
  const NmMat4d deficient(1e-4, 2e-4, 3e-4, 0, 2e-4, 4e-4, 6e-4, 0, 0, 1e-4, 0, 0, 0, 0, 0, 1);
  NmMat4d out = diagonal(7, 1, 1);
  for (const NmMat4d& refused : {projective, scaledW, diagonal(1, 1, 0), notANumber, deficient})
    EXPECT_FALSE(out.affine_inverse(refused, out));
  EXPECT_EQ(out.m[0][0], 7.0);
  EXPECT_GT(std::fabs(deficient.inverse().m[0][0]), 1e9);
  EXPECT_LT(std::fabs(deficient.inverse().m[0][0]), 1e300);
  const NmMat4d empty(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0);
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j)
      EXPECT_DOUBLE_EQ(empty.inverse().m[i][j], i == j ? 1.0 / 9.999999974752427e-07 : 0.0);
}

void expectPivots(NmMat4d a, const int (&rows)[4], double expectedSign) {
  int index[4];
  double sign;
  EXPECT_EQ(a.LUDecomposition(index, sign), 1);
  for (int j = 0; j < 4; ++j) EXPECT_EQ(index[j], rows[j]) << j;
  EXPECT_EQ(sign, expectedSign);
}

TEST(NmMat4d, PivotsAreChosenByImplicitScales) {
  // All rows tie; then the first one, moved to the end, is as good as the two between.
  expectPivots({1, 0, 0, 0, 1, 1, 0, 0, 1, 0, 1, 0, 1, 0, 0, 1}, {3, 1, 2, 3}, -1.0);
  expectPivots({nan, nan, nan, nan, nan, nan, nan, nan, nan, nan, nan, nan, nan, nan, nan, nan},
               {0, 1, 2, 3}, 1.0);
  // Row 0 moves to position 3 and takes its scale of 1/100 along: 50 / 100 against 2 / 2 of row 1.
  expectPivots({0, 50, 0, 100, 0, 2, 0, 0, 0, 0, 1, 0, 1, 0, 0, 0}, {3, 1, 2, 3}, -1.0);
}

TEST(NmMat4d, JacobiCountsRotationsAndFindsEigenvectorsInColumns) {
  double values[3];
  NmVec3f vectors[3];
  int rots = -1;
  NmMat4d::identity().jacobi3(values, vectors, rots);
  EXPECT_EQ(rots, 0);

  const NmMat4d oneTurn(2, 1, 0, 0, 1, 2, 0, 0, 0, 0, 5, 0, 0, 0, 0, 1);
  oneTurn.jacobi3(values, vectors, rots);
  EXPECT_EQ(rots, 3);
  EXPECT_DOUBLE_EQ(values[0], 1.0);
  EXPECT_EQ(vectors[0][0], static_cast<float>(std::sqrt(0.5)));
  EXPECT_EQ(vectors[1][0], -vectors[0][0]);
}

TEST(NmMat4d, FactorRefusesASmallDeterminantAndGetTransformReadsTheIdentity) {
  NmMat4d small = diagonal(1e-5, 1e-5, 1e-5);
  small.m[3][1] = 4.0;
  NmMat4d r = diagonal(7, 1, 1), u = r, proj;
  NmVec3f s(7, 7, 7), t;
  EXPECT_FALSE(small.factor(r, s, u, t, proj));
  EXPECT_EQ(t, NmVec3f(0, 4, 0));
  EXPECT_EQ(s, NmVec3f(7, 7, 7));
  EXPECT_EQ(r.m[0][0] + u.m[0][0], 14.0);
  NmRotation rotation(1, 0, 0, 0), orientation(1, 0, 0, 0);
  small.getTransform(t, rotation, s, orientation, NmVec3f());
  EXPECT_EQ(s, NmVec3f(1, 1, 1));
  EXPECT_EQ(rotation, NmRotation());
  EXPECT_EQ(orientation, NmRotation());
}

// About the center (1, 0, 0): (2, 0, 0) -> (1, 0, 0), scaled to (3, 0, 0), turned to (0, 3, 0),
// back to (1, 3, 0), moved to (1, 3, 5).
TEST(NmMat4d, SetTransformScalesThenRotatesThenMoves) {
  const float half = std::sqrt(0.5f);
  const NmRotation quarter(0, 0, half, half);
  NmMat4d a;
  a.setTransform(NmVec3f(0, 0, 5), quarter, NmVec3f(3, 1, 1), NmRotation(), NmVec3f(1, 0, 0));
  NmVec3d p;
  a.multVecMatrix(NmVec3d(2, 0, 0), p);
  expectNear(p, NmVec3d(1, 3, 5), 1e-6);
  // With the axes of scale turned by 90 degrees, the factor of x stretches y instead.
  a.setTransform(NmVec3f(), NmRotation(), NmVec3f(3, 1, 1), quarter, NmVec3f());
  a.multVecMatrix(NmVec3d(1, 1, 1), p);
  expectNear(p, NmVec3d(1, 3, 1), 1e-6);
}

TEST(NmMat4d, GetTransformGivesThePartsThatBuildTheMatrix) {
  std::mt19937 random(4);
  const NmVec3f center(3, -2, 1);
  for (int n = 0; n < 100; ++n) {
    const NmMat4d a = n == 0 ? diagonal(-1, 1, 1) : randomMatrix(random, true);
    if (std::fabs(a.det3()) < 0.3) continue;
    NmVec3f move, scale;
    NmRotation rotation, orientation;
    a.getTransform(move, rotation, scale, orientation, center);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(scale[i] < 0.0f, a.det3() < 0.0) << "a mirror is scale";
    EXPECT_GE(std::fmin(rotation.w, orientation.w), 0.0f);
    EXPECT_NEAR(std::hypot(std::hypot(rotation.x, rotation.y, rotation.z), rotation.w), 1, 1e-6);
    NmMat4d again;
    again.setTransform(move, rotation, scale, orientation, center);
    expectNear(again, a, 2e-5);
  }
}

}  // namespace
