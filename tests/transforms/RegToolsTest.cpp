#include "transforms/RegTools.h"

#include <cmath>
#include <initializer_list>
#include <limits>
#include <random>

#include "tests/support/expectNear.h"

namespace {

NmDVector<double> parameters(std::initializer_list<double> values) {
  NmDVector<double> p;
  p.insert(0, static_cast<long>(values.size()), values.begin());
  return p;
}

NmMat4d composed(std::initializer_list<double> values) {
  NmMat4d m;
  RegTools::composeMatrix(parameters(values), m);
  return m;
}

NmDVector<double> decomposed(const NmMat4d& m) {
  NmDVector<double> p;
  RegTools::decomposeMatrix(m, p);
  return p;
}

void expectParameters(const NmDVector<double>& p, std::initializer_list<double> expected,
                      double tolerance) {
  ASSERT_EQ(p.size, 15);
  long i = 0;
  for (const double value : expected) {
    EXPECT_NEAR(p[i], value, tolerance) << "parameter " << i;
    ++i;
  }
  for (; i < 15; ++i) EXPECT_NEAR(p[i], 0.0, tolerance) << "parameter " << i;
}

// X(90) takes z to -y and y to z, Y(90) then z to x and x to -z; scale and shear act before, on
// rows. Angle c turns left-handed.
TEST(RegTools, PointsAreShearedThenScaledThenRotated) {
  expectNear(composed({0, 0, 0, 90, 90, 0, 2, 3, 4}),
             NmMat4d(0, 0, -2, 0, 3, 0, 0, 0, 0, -4, 0, 0, 0, 0, 0, 1), 1e-15);
  expectNear(composed({0, 0, 0, 0, 0, 0, 2, 3, 4, 0.1, 0.2, 0.3}),
             NmMat4d(2, 0.3, 1.2, 0, 0.2, 3, 0.8, 0, 0.6, 0.6, 4, 0, 0, 0, 0, 1), 1e-15);
  const double cos30 = std::sqrt(0.75);
  expectNear(composed({0, 0, 0, 0, 0, 30}),
             NmMat4d(cos30, -0.5, 0, 0, 0.5, cos30, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1), 1e-15);
}

TEST(RegTools, DecomposedParametersComposeToTheSameMatrix) {
  std::mt19937 random(1);
  std::uniform_real_distribution<double> unit(-1.0, 1.0);
  for (int n = 0; n < 500; ++n) {
    NmDVector<double> p;
    p.resize(15);
    for (int i = 0; i < 3; ++i) {
      p[i] = 50 * unit(random);
      p[3 + i] = (i == 1 ? 85 : 175) * unit(random);
      p[6 + i] = 1 + 0.5 * unit(random);
      p[9 + i] = n % 2 * 0.15 * unit(random);
      p[12 + i] = 100 * unit(random);
    }
    NmMat4d m;
    RegTools::composeMatrix(p, m);
    const NmDVector<double> found = decomposed(m);
    NmMat4d again;
    RegTools::composeMatrix(found, again);
    const double tolerance = n % 2 == 0 ? 1e-11 : 1e-3;  // shears are found by iteration
    expectNear(again, m, 1e-2 * tolerance);
    for (int i = 3; i < 12; ++i) EXPECT_NEAR(found[i], p[i], tolerance) << "parameter " << i;
    for (int i = 12; i < 15; ++i) EXPECT_EQ(found[i], 0.0);
  }
}

TEST(RegTools, DegenerateMatricesGiveFiniteParameters) {
  NmMat4d zero;
  zero.setScale(0.0);
  expectParameters(decomposed(zero), {0, 0, 0, 0, 0, 0, 0.001, 0.001, 0.001}, 0.0);
  expectParameters(decomposed(NmMat4d::identity()), {0, 0, 0, 0, 0, 0, 1, 1, 1}, 0.0);
  NmMat4d mirror;
  mirror.setScale(NmVec3d(1, 1, -1));
  for (int i = 6; i < 9; ++i) EXPECT_EQ(decomposed(mirror)[i], 1.0);

  EXPECT_EQ(decomposed(composed({0, 0, 0, 25, 90, 40}))[5], 0.0);
  EXPECT_NEAR(decomposed(composed({0, 0, 0, 0, 90.03}))[4], 90.03, 1e-9) << "x0 keeps its sign";

  NmMat4d parallel(1, 1, 0, 0, 1, 1, 0, 0, 1, 1, 0, 0, 0, 0, 0, 1);
  const NmDVector<double> p = decomposed(parallel);
  for (long i = 0; i < 15; ++i) EXPECT_TRUE(std::isfinite(p[i])) << "parameter " << i;

  for (const double bad :
       {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(), 1e300}) {
    parallel.m[1][1] = bad;
    EXPECT_EQ(decomposed(parallel).size, 15);
  }
}

// With two equal rows k01 is 1/2 and the others 0, so that x = (x^2 + 1) / 2, which creeps towards
// 1 and a singular H: it never converges. Both rows of inverse(H) * a have the length 1 / (1 + x).
TEST(RegTools, EqualRowsEndAtTheIterationLimit) {
  double x = 0.0;
  for (int iteration = 0; iteration < 100; ++iteration) x = 0.5 * (x * x + 1.0);
  const double scale = 1.0 / (1.0 + x);
  expectParameters(decomposed(NmMat4d(1, 0, 0, 0, 1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1)),
                   {0, 0, 0, 0, 0, 0, scale, scale, 1, x}, 1e-9);
}

}  // namespace
