#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <random>
#include <vector>

#include "tests/support/FailingAllocation.h"
#include "tests/transforms/naiveDecomposition.h"
#include "transforms/RegNonAffineTransform.h"

namespace {

using Descriptor = RegNonAffineTransform::NonAffineTransformDescriptor;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

struct Analysis {
  NmDArray<double> minJacobian;
  NmDArray<double> minDiagonal;
  NmDArray<double> maxStretch;
  NmDArray<double> maxShear;
  NmDArray<int> bricks;
  NmDArray<unsigned char> skipped;

  float run(const RegNonAffineTransform& t, int vertex = -1) {
    return t.computeJacobiTransforms(vertex, 1, minJacobian, &skipped, &minDiagonal, &maxStretch,
                                     &maxShear, &bricks);
  }
  std::vector<double> entry(long n) const {
    return {minJacobian[n], minDiagonal[n], maxStretch[n], maxShear[n]};
  }
};

/// A grid over (0, 2, 0, 4, -3, 3) whose vertices `move` changes in place.
RegNonAffineTransform gridOf(const NmVec3i& bricks, const std::function<void(double*)>& move) {
  RegNonAffineTransform t({NmBox3f(0, 2, 0, 4, -3, 3), {}, {}}, bricks);
  for (long v = 0; v < t.params.size; v += 3) move(t.params.data + v);
  t.apply();
  return t;
}

std::function<void(double*)> jitter(double amount) {
  return [random = std::mt19937(3),
          move = std::uniform_real_distribution(-amount, amount)](double* p) mutable {
    for (int c = 0; c < 3; ++c) p[c] += move(random);
  };
}

void expectNear(const std::vector<double>& found, const std::vector<double>& expected,
                double tolerance) {
  for (unsigned long i = 0; i < expected.size(); ++i)
    EXPECT_NEAR(found[i], expected[i], tolerance * (1 + std::fabs(expected[i]))) << "output " << i;
}

TEST(JacobianAnalysis, LinearMapsByHand) {
  const double g = std::sqrt(1.09);  // length of (0.3, 1, 0)
  const struct {
    double f[3][3];  // row i: derivative along axis i
    std::vector<double> expected;
  } cases[] = {
      {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {1, 1, 0, 0}},
      {{{2, 0, 0}, {0, 2, 0}, {0, 0, 2}}, {0.125, 2, 1, 0}},
      {{{0.5, 0, 0}, {0, 0.5, 0}, {0, 0, 0.5}}, {0.125, 0.5, 0.5, 0}},
      {{{1, 0, 0}, {0.3, 1, 0}, {0, 0, 1}}, {1, 1, g - 1, 0.15 / 1.09}},
      {{{1, 0, 0}, {0, 1, 0}, {0.3, 0, 1}}, {1, 1, g - 1, 0.15 / 1.09}},
      {{{1, 0, 0}, {0, 1, 0}, {0, -1.6, 1}}, {1, 1, std::sqrt(3.56) - 1, 0.8 / 3.56}},
      // Reflected and flattened maps are measured by their plain elements.
      {{{-1, 0, 0}, {0.3, 1, 0}, {0, 0, 1}}, {-1, -1, 2, 0.3}},
      {{{1, 0, -0.7}, {0, 1, 0}, {0, 0, 0}}, {0, 0, 1, 0.7}},
      {{{0, 0, 0}, {0, 0, 0}, {0, 0, 0}}, {0, 0, 1, 0}},
  };
  for (const auto& c : cases) {
    const RegNonAffineTransform t = gridOf(NmVec3i(2, 1, 3), [&](double* p) {
      const double from[3] = {p[0], p[1], p[2]};
      for (int j = 0; j < 3; ++j)
        p[j] = 5 + from[0] * c.f[0][j] + from[1] * c.f[1][j] + from[2] * c.f[2][j];
    });
    Analysis a;
    EXPECT_GE(a.run(t), 0.0f);
    ASSERT_EQ(a.minJacobian.size, 6);
    EXPECT_EQ(a.bricks.size, 0);
    for (long b = 0; b < 6; ++b) expectNear(a.entry(b), c.expected, 1e-12);
  }
}

/// Derivative along `axis` of the corners' trilinear blend, at `at` within brick (i, j, k).
NmVec3d slopeOf(const RegNonAffineTransform& t, const int (&brick)[3], const double (&at)[3],
                int axis) {
  const double size = t.referenceBox.extent(axis) / static_cast<float>(t.numBricks[axis]);
  NmVec3d sum;
  for (int corner = 0; corner < 8; ++corner) {
    double weight = 1.0;
    int v[3];
    for (int a = 0; a < 3; ++a) {
      const int up = corner >> a & 1;
      v[a] = brick[a] + up;
      weight *= a == axis ? (up - 0.5) * 2 / size : up == 1 ? at[a] : 1 - at[a];
    }
    const long vertex = v[0] + (t.numBricks.x + 1) * (v[1] + (t.numBricks.y + 1L) * v[2]);
    for (int c = 0; c < 3; ++c) sum[c] += weight * t.params[3 * vertex + c];
  }
  return sum;
}

std::vector<double> naiveMeasures(const RegNonAffineTransform& t, const int (&brick)[3]) {
  const double node[2] = {0.5 - std::sqrt(1 / 12.0), 0.5 + std::sqrt(1 / 12.0)};
  double low = 1e9, high = -1e9, diagonal = 1e9, stretch = 0, shear = 0;
  for (int point = 0; point < 8; ++point) {
    const double at[3] = {node[point & 1], node[point >> 1 & 1], node[point >> 2]};
    double f[3][3];
    for (int i = 0; i < 3; ++i)
      for (int j = 0; j < 3; ++j) f[i][j] = slopeOf(t, brick, at, i)[j];
    const naive::Split split = naive::split(f);
    low = std::min(low, split.volume);
    high = std::max(high, split.volume);
    for (int i = 0; i < 3; ++i)
      for (int j = 0; j < 3; ++j) {
        if (i == j) diagonal = std::min(diagonal, f[i][i]);
        if (split.volume >= 0) {
          stretch = std::max(stretch, std::fabs(split.scale[i] - 1));
          shear = std::max(shear, std::fabs(split.shear[i]));
        } else {
          double& largest = i == j ? stretch : shear;
          largest = std::max(largest, std::fabs(f[i][j] - (i == j ? 1 : 0)));
        }
      }
  }
  return {high > 1 && 1 / high < low ? 1 / high : low, diagonal, stretch, shear};
}

TEST(JacobianAnalysis, EqualsTheSlopesOfATrilinearBlend) {
  for (const double amount : {0.05, 0.4, 1.5}) {
    const RegNonAffineTransform t = gridOf(NmVec3i(3, 5, 4), jitter(amount));
    Analysis a;
    EXPECT_GE(a.run(t), 0.0f);
    long folded = 0;
    for (int k = 0, b = 0; k < 4; ++k)
      for (int j = 0; j < 5; ++j)
        for (int i = 0; i < 3; ++i, ++b) {
          expectNear(a.entry(b), naiveMeasures(t, {i, j, k}), 1e-9);
          if (a.minJacobian[b] < 0) ++folded;
        }
    EXPECT_EQ(folded > 0, amount > 1.0);
  }
}

TEST(JacobianAnalysis, AVertexNamesTheBricksAroundItAndFlagsSkipSome) {
  const RegNonAffineTransform t = gridOf(NmVec3i(3, 2, 1), jitter(0.3));
  const std::vector<double> untouched = {1, 1, 0, 0};
  Analysis whole;
  whole.run(t);
  Analysis a;
  a.skipped.resize(6);
  std::fill_n(a.skipped.data, 6, static_cast<unsigned char>(0));
  a.skipped[1] = 1;
  a.skipped[5] = 7;
  for (int k = 0, vertex = 0; k < 2; ++k)
    for (int j = 0; j < 3; ++j)
      for (int i = 0; i < 4; ++i, ++vertex) {
        EXPECT_GE(a.run(t, vertex), 0.0f);
        long n = 0;
        for (int b = 0; b < 6; ++b) {
          const int dx = i - b % 3;
          const int dy = j - b / 3;
          if (dx < 0 || dx > 1 || dy < 0 || dy > 1) continue;
          ASSERT_LT(n, a.bricks.size);
          EXPECT_EQ(a.bricks[n], b);
          EXPECT_EQ(a.entry(n), b == 1 || b == 5 ? untouched : whole.entry(b));
          ++n;
        }
        EXPECT_EQ(n, a.minJacobian.size);
        EXPECT_EQ(n, a.bricks.size);
      }
  a.skipped.resize(5);  // no longer one for each brick
  a.run(t, 24);
  EXPECT_EQ(a.maxShear.size, 6);
  EXPECT_EQ(a.entry(1), whole.entry(1));
}

TEST(JacobianAnalysis, WhatCanNotBeAnalysedLeavesTheOutputsAlone) {
  Analysis a;
  a.minJacobian.resize(2);
  RegNonAffineTransform coarsened = gridOf(NmVec3i(2, 2, 2), [](double*) {});
  coarsened.restrict(NmVec3i(2, 2, 2), NmVec3i(1, 1, 1));
  RegNonAffineTransform flat = gridOf(NmVec3i(1, 1, 1), [](double*) {});
  flat.referenceBox.ymax = flat.referenceBox.ymin;
  RegNonAffineTransform noNumber = gridOf(NmVec3i(1, 1, 1), [](double*) {});
  noNumber.referenceBox.zmin = std::numeric_limits<float>::quiet_NaN();
  RegNonAffineTransform wrong = gridOf(NmVec3i(1, 1, 1), [](double*) {});
  wrong.numBricks.x = 0;
  for (const auto& t :
       {coarsened, flat, noNumber, wrong, RegNonAffineTransform({}, NmVec3i(1, 1, 1))}) {
    EXPECT_EQ(a.run(t, 0), -1.0f);
    EXPECT_EQ(a.minJacobian.size, 2);
    EXPECT_EQ(a.maxShear.size + a.bricks.size, 0);
  }
}

TEST(JacobianAnalysis, WildVerticesGiveNumbersAndOnceWarmNothingIsAllocated) {
  RegNonAffineTransform t = gridOf(NmVec3i(32, 32, 32), jitter(0.01));
  t.params[3 * (16 + 33 * 40)] = nan;
  for (int c = 0; c < 3; ++c) t.params[3 * (16 + 33 * 400) + c] = nan;
  t.params[3 * 5000] = std::numeric_limits<double>::infinity();
  t.apply();
  Analysis a;
  a.run(t);
  for (long b = 0; b < t.brickCount(); ++b)
    for (const double value : a.entry(b)) ASSERT_TRUE(std::isfinite(value)) << b;
  a.run(t, 5000);
  const FailingAllocation next(1);
  EXPECT_GE(a.run(t), 0.0f);
  EXPECT_GE(a.run(t, 5000), 0.0f);
  EXPECT_FALSE(next.hasFailed());
}

}  // namespace
