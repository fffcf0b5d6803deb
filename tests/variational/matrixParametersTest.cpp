#include "variational/search/matrixParameters.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "tests/support/expectNear.h"

namespace {

using voxreg::detail::MatrixDerivative;
using voxreg::detail::MatrixParameters;

constexpr int degreesOfFreedom[] = {3, 6, 7, 9, 12};

const NmMat4d base{1.05, 0.04,  -0.03, 0, -0.05, 0.96, 0.06, 0,
                   0.02, -0.04, 1.03,  0, 9.0,   -7.0, 4.0,  1};
const NmVec3d centre(12.0, -30.0, 8.0);
const NmVec3d spread(40.0, 55.0, 30.0);

/// A weighed sum of where some points go, and how it changes with the map.
struct Pulls {
  std::vector<NmVec3d> points;
  std::vector<NmVec3d> weights;

  Pulls() {
    std::mt19937 random(3);
    std::uniform_real_distribution<double> value(-50.0, 50.0);
    const auto any = [&] { return NmVec3d(value(random), value(random), value(random)); };
    for (int i = 0; i < 9; ++i) {
      points.push_back(any());
      weights.push_back(any());
    }
  }

  double under(const NmMat4d& matrix) const {
    double sum = 0.0;
    for (std::size_t i = 0; i < points.size(); ++i)
      for (int j = 0; j < 3; ++j) {
        double y = matrix.m[3][j];
        for (int a = 0; a < 3; ++a) y += points[i][a] * matrix.m[a][j];
        sum += weights[i][j] * y;
      }
    return sum;
  }

  MatrixDerivative derivative() const {
    MatrixDerivative by = {};
    for (std::size_t i = 0; i < points.size(); ++i)
      for (int j = 0; j < 3; ++j) {
        by.byShift[j] += weights[i][j];
        for (int a = 0; a < 3; ++a) by.byLinear[a][j] += weights[i][j] * (points[i][a] - centre[a]);
      }
    return by;
  }
};

TEST(MatrixParameters, ZerosGiveTheBase) {
  for (const int n : degreesOfFreedom) {
    SCOPED_TRACE(n);
    const MatrixParameters parameters(n, base, centre, spread);
    EXPECT_EQ(parameters.count(), n);
    expectNear(parameters.matrixAt(std::vector<double>(static_cast<std::size_t>(n))), base, 1e-13);
  }
}

TEST(MatrixParameters, DerivativesAreThoseOfTheMatrix) {
  const Pulls pulls;
  for (const int n : degreesOfFreedom) {
    const MatrixParameters parameters(n, base, centre, spread);
    std::vector<double> x(static_cast<std::size_t>(n));
    for (std::size_t i = 0; i < x.size(); ++i) x[i] = 3.0 * static_cast<double>(i % 4) - 4.0;
    std::vector<double> gradient(x.size());
    parameters.differentiate(x, pulls.derivative(), gradient);
    for (std::size_t i = 0; i < x.size(); ++i) {
      constexpr double h = 1e-3;
      const double kept = x[i];
      x[i] = kept + h;
      const double plus = pulls.under(parameters.matrixAt(x));
      x[i] = kept - h;
      const double minus = pulls.under(parameters.matrixAt(x));
      x[i] = kept;
      EXPECT_NEAR(gradient[i], (plus - minus) / (2.0 * h), 1e-6 * (1.0 + std::abs(gradient[i])))
          << "parameter " << i << " of " << n;
    }
  }
}

TEST(MatrixParameters, KeepToTheirDegreesOfFreedom) {
  const NmMat4d identity;
  std::vector<double> x = {1.0, -2.0, 0.5, 9.0, -14.0, 6.0};
  const auto stretches = [&](int n) {
    x.resize(static_cast<std::size_t>(n), 8.0);
    const NmMat4d m = MatrixParameters(n, identity, centre, spread).matrixAt(x);
    return NmVec3d(std::hypot(m.m[0][0], m.m[0][1], m.m[0][2]),
                   std::hypot(m.m[1][0], m.m[1][1], m.m[1][2]),
                   std::hypot(m.m[2][0], m.m[2][1], m.m[2][2]));
  };
  expectNear(stretches(6), {1.0, 1.0, 1.0}, 1e-14);
  const NmVec3d uniform = stretches(7);
  EXPECT_GT(uniform.x, 1.05);
  expectNear(uniform, {uniform.x, uniform.x, uniform.x}, 1e-14);
  const NmVec3d apart = stretches(9);
  expectNear(apart, {1.0 + 8.0 / spread.x, 1.0 + 8.0 / spread.y, 1.0 + 8.0 / spread.z}, 1e-14);
}

}  // namespace
