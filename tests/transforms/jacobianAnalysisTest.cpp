#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "tests/support/FailingAllocation.h"
#include "tests/support/grids.h"

namespace {

struct Analysis {
  NmDArray<double> outputs[4];  ///< minJacobian, minDiagonal, maxStretch, maxShear
  NmDArray<int> bricks;
  NmDArray<unsigned char> skipped;

  float run(const RegNonAffineTransform& t, int vertex = -1) {
    return t.computeJacobiTransforms(vertex, 1, outputs[0], &skipped, &outputs[1], &outputs[2],
                                     &outputs[3], &bricks);
  }
  std::vector<double> entry(long n) const {
    return {outputs[0][n], outputs[1][n], outputs[2][n], outputs[3][n]};
  }
};

const NmBox3f box(0, 2, 0, 4, -3, 3);

void expectNear(const std::vector<double>& found, const std::vector<double>& expected) {
  for (unsigned long i = 0; i < expected.size(); ++i)
    EXPECT_NEAR(found[i], expected[i], 1e-9 * (1 + std::fabs(expected[i]))) << "output " << i;
}

// The map (x, y, -0.7 x) has no volume, by which stretches and shears could be measured.
TEST(JacobianAnalysis, AFlattenedMapIsMeasuredByItsPlainElements) {
  RegNonAffineTransform t = jittered(NmVec3i(2, 1, 3), 0.0, box);
  for (double* p = t.params.data; p < t.params.data + t.params.size; p += 3) p[2] = -0.7 * p[0];
  t.apply();
  Analysis a;
  EXPECT_GE(a.run(t), 0.0f);
  ASSERT_EQ(a.outputs[0].size, 6);
  for (long b = 0; b < 6; ++b) expectNear(a.entry(b), {0, 0, 1, 0.7});
}

NmVec3d cross(const NmVec3d& a, const NmVec3d& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

double dot(const NmVec3d& a, const NmVec3d& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

/// Derivative of the map along `axis` at a position in brick units: it is constant through the
/// brick.
NmVec3d slopeOf(const RegNonAffineTransform& t, NmVec3d at, int axis) {
  const double size = t.referenceBox.extent(axis) / static_cast<float>(t.numBricks[axis]);
  NmVec3d ends[2];
  const double face = std::floor(at[axis]);
  for (int end = 0; end < 2; ++end) {
    at[axis] = face + end;
    ends[end] =
        evaluated(t, NmVec3d(at.x / t.numBricks.x, at.y / t.numBricks.y, at.z / t.numBricks.z));
  }
  return {(ends[1].x - ends[0].x) / size, (ends[1].y - ends[0].y) / size,
          (ends[1].z - ends[0].z) / size};
}

std::vector<double> naiveMeasures(const RegNonAffineTransform& t, int i, int j, int k) {
  const double node[2] = {0.5 - std::sqrt(1 / 12.0), 0.5 + std::sqrt(1 / 12.0)};
  double low = 1e9, high = -1e9, diagonal = 1e9, stretch = 0, shear = 0;
  for (int point = 0; point < 8; ++point) {
    const NmVec3d at(i + node[point & 1], j + node[point >> 1 & 1], k + node[point >> 2]);
    const NmVec3d f[3] = {slopeOf(t, at, 0), slopeOf(t, at, 1), slopeOf(t, at, 2)};
    // Stretches from volume, area and length; row 1 across row 2 lies along f[2] x normal.
    const NmVec3d normal = cross(f[1], f[2]);
    const double volume = dot(f[0], normal);
    const double area = std::sqrt(dot(normal, normal));
    const double length = std::sqrt(dot(f[2], f[2]));
    const double scales[] = {volume / area, area / length, length};
    const double shears[] = {dot(f[1], f[2]) / (length * length) / 2,
                             dot(f[0], f[2]) / (length * length) / 2,
                             dot(f[0], cross(f[2], normal)) / (area * area) / 2};
    low = std::min(low, volume);
    high = std::max(high, volume);
    for (int r = 0; r < 3; ++r) {
      diagonal = std::min(diagonal, f[r][r]);
      stretch = std::max(stretch, std::fabs((volume >= 0 ? scales[r] : f[r][r]) - 1));
      for (const int c : {(r + 1) % 3, (r + 2) % 3})
        shear = std::max(shear, std::fabs(volume >= 0 ? shears[r] : f[r][c]));
    }
  }
  return {high > 1 && 1 / high < low ? 1 / high : low, diagonal, stretch, shear};
}

TEST(JacobianAnalysis, EqualsTheSlopesOfTheMap) {
  for (const double amount : {0.05, 0.4, 1.5}) {
    const RegNonAffineTransform t = jittered(NmVec3i(3, 5, 4), amount, box);
    Analysis a;
    a.run(t);
    double lowest = 1;
    for (int b = 0; b < 60; ++b) {
      expectNear(a.entry(b), naiveMeasures(t, b % 3, b / 3 % 5, b / 15));
      lowest = std::min(lowest, a.outputs[0][b]);
    }
    EXPECT_EQ(lowest<0, amount> 1);
  }
}

TEST(JacobianAnalysis, AVertexNamesTheBricksAroundItAndFlagsSkipSome) {
  const RegNonAffineTransform t = jittered(NmVec3i(3, 2, 1), 0.3, box);
  Analysis whole;
  whole.run(t);
  EXPECT_EQ(whole.bricks.size, 0);
  Analysis a;
  const std::pair<int, std::vector<int>> around[] = {
      {0, {0}}, {1, {0, 1}}, {4, {0, 3}}, {5, {0, 1, 3, 4}}, {18, {1, 2, 4, 5}}, {23, {5}}};
  for (const long flags : {6, 5}) {  // five flags are not for this grid
    a.skipped.resize(flags);
    std::fill_n(a.skipped.data, flags, static_cast<unsigned char>(0));
    a.skipped[1] = 7;
    for (const auto& [vertex, bricks] : around) {
      a.run(t, vertex);
      ASSERT_EQ(std::vector<int>(a.bricks.data, a.bricks.data + a.bricks.size), bricks);
      for (long n = 0; n < a.bricks.size; ++n)
        EXPECT_EQ(a.entry(n), a.bricks[n] == 1 && flags == 6 ? std::vector<double>({1, 1, 0, 0})
                                                             : whole.entry(a.bricks[n]));
    }
    a.run(t, 24);
    EXPECT_EQ(a.outputs[3].size, 6);
  }
}

TEST(JacobianAnalysis, WhatCanNotBeAnalysedLeavesTheOutputsAlone) {
  Analysis a;
  const RegNonAffineTransform good = jittered(NmVec3i(2, 2, 2), 0.0, box);
  RegNonAffineTransform bad[] = {good, good, good, good, {{}, NmVec3i(1, 1, 1)}};
  bad[0].restrict(NmVec3i(2, 2, 2), NmVec3i(1, 1, 1));
  bad[1].referenceBox.ymax = bad[1].referenceBox.ymin;
  bad[2].referenceBox.zmin = std::nanf("");
  bad[3].numBricks.x = 0;
  for (const RegNonAffineTransform& t : bad) {
    EXPECT_EQ(a.run(t, 0), -1.0f);
    EXPECT_EQ(a.outputs[0].size + a.bricks.size, 0);
  }
}

TEST(JacobianAnalysis, WildVerticesGiveNumbersAndOnceWarmNothingIsAllocated) {
  RegNonAffineTransform t = jittered(NmVec3i(32, 32, 32), 0.01, box);
  t.params[3 * 1336] = t.params[15000] = std::nan("");
  t.params[15001] = t.params[15002] = HUGE_VAL;
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
