#include "transforms/RegNonAffineTransform.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>

#include "foundation/VlMemoryData.h"

namespace {

using Descriptor = RegNonAffineTransform::NonAffineTransformDescriptor;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

RegNonAffineTransform identityOver(const NmBox3f& box, const NmVec3i& bricks) {
  Descriptor d;
  d.box = box;
  return {d, bricks};
}

/// Every vertex moved at random by up to half a unit, over (0, 10, 0, 20, -5, 5).
RegNonAffineTransform warped(const NmVec3i& bricks) {
  RegNonAffineTransform t = identityOver(NmBox3f(0, 10, 0, 20, -5, 5), bricks);
  std::mt19937 random(7);
  std::uniform_real_distribution<double> move(-0.5, 0.5);
  for (long i = 0; i < t.params.size; ++i) t.params[i] += move(random);
  t.apply();
  return t;
}

NmVec3d evaluated(const RegNonAffineTransform& t, const NmVec3d& at) {
  NmDArray<NmVec3d> slice;
  NmDArray<NmVec3d> row;
  slice.resize(4L * t.numBricks.x * t.numBricks.y);
  row.resize(2L * t.numBricks.x);
  NmVec3d point;
  t.setW(at.z, slice);
  t.setV(at.y, slice, row);
  t.setU(at.x, row, point);
  return point;
}

/// The corners of the brick around `at`, weighted.
NmVec3d blended(const RegNonAffineTransform& t, const NmVec3d& at) {
  int brick[3];
  double f[3];
  for (int a = 0; a < 3; ++a) {
    const double g = at[a] * t.numBricks[a];
    brick[a] = static_cast<int>(std::clamp(std::floor(g), 0.0, t.numBricks[a] - 1.0));
    f[a] = g - brick[a];
  }
  NmVec3d sum;
  for (int corner = 0; corner < 8; ++corner) {
    double weight = 1.0;
    int v[3];
    for (int a = 0; a < 3; ++a) {
      const bool upper = (corner >> a & 1) != 0;
      weight *= upper ? f[a] : 1.0 - f[a];
      v[a] = brick[a] + (upper ? 1 : 0);
    }
    const int vertex = v[0] + (t.numBricks.x + 1) * (v[1] + (t.numBricks.y + 1) * v[2]);
    for (int c = 0; c < 3; ++c) sum[c] += weight * t.params[3 * vertex + c];
  }
  return sum;
}

void expectNear(const NmVec3d& a, const NmVec3d& b, double tolerance) {
  for (int c = 0; c < 3; ++c) EXPECT_NEAR(a[c], b[c], tolerance) << "component " << c;
}

template <class F>
void atRandomPoints(F&& f) {
  std::mt19937 random(11);
  std::uniform_real_distribution<double> coordinate(-0.3, 1.3);
  for (int n = 0; n < 300; ++n)
    f(NmVec3d(coordinate(random), coordinate(random), coordinate(random)));
}

bool sameBits(const NmDArray<double>& a, const NmDArray<double>& b) {
  return a.size == b.size &&
         std::memcmp(a.data, b.data, static_cast<unsigned long>(a.size) * sizeof(double)) == 0;
}

TEST(RegNonAffineTransform, IdentityMapsNormalisedCoordinatesIntoTheBox) {
  RegNonAffineTransform t = identityOver(NmBox3f(0, 10, 0, 10, 0, 10), NmVec3i(2, 2, 2));
  EXPECT_EQ(evaluated(t, NmVec3d(0.5, 0.5, 0.5)), NmVec3d(5, 5, 5));
  EXPECT_EQ(evaluated(t, NmVec3d(1, 1, 1)), NmVec3d(10, 10, 10));
  EXPECT_EQ(evaluated(t, NmVec3d(-0.5, 0, 1.5)), NmVec3d(-5, 0, 15));
  EXPECT_EQ(t.getParamStep(99, nullptr), 0.25);
  EXPECT_EQ(t.makeInverse(), nullptr);
  const RegNonAffineTransform unit = [] {
    RegNonAffineTransform u = identityOver(NmBox3f(0, 10, 0, 10, 0, 10), NmVec3i(0, 33, -7));
    u.makeIdentityTransform(NmBox3f(0, 10, 3, 3, 0, 10));
    return u;
  }();
  EXPECT_EQ(unit.numBricks, NmVec3i(1, 32, 1));
  EXPECT_EQ(unit.referenceBox, NmBox3f(0, 1, 0, 1, 0, 1));
}

TEST(RegNonAffineTransform, StagesEqualATrilinearBlend) {
  const RegNonAffineTransform t = warped(NmVec3i(3, 1, 4));
  EXPECT_EQ(t.coefficients.size, 24 * 12);
  atRandomPoints([&](const NmVec3d& at) { expectNear(evaluated(t, at), blended(t, at), 1e-11); });
}

TEST(RegNonAffineTransform, CoefficientsEqualTheMatrixProductToTheBit) {
  RegNonAffineTransform t = warped(NmVec3i(2, 3, 2));
  t.params[5] = nan;
  t.params[11] = infinity;
  t.params[31] = -0.0;
  t.apply();
  long brick = 0;
  for (int bk = 0; bk < 2; ++bk)
    for (int bj = 0; bj < 3; ++bj)
      for (int bi = 0; bi < 2; ++bi, ++brick) {
        NmDMatrix<double> corners;
        corners.resize(8, 3);
        for (int n = 0; n < 8; ++n)
          for (int c = 0; c < 3; ++c)
            corners(n, c) =
                t.params[3 * (bi + (n & 1) + 3 * (bj + (n >> 1 & 1) + 4 * (bk + (n >> 2)))) + c];
        NmDMatrix<double> product = t.brickMatrix;
        product *= corners;
        for (int e = 0; e < 24; ++e) {
          const double found = t.coefficients[24 * brick + e];
          const double expected = product.data[e];
          EXPECT_TRUE(std::isnan(expected) ? std::isnan(found)
                                           : std::memcmp(&found, &expected, 8) == 0);
        }
      }
}

TEST(RegNonAffineTransform, ScaledSlicesGiveModelVoxels) {
  RegNonAffineTransform t = warped(NmVec3i(2, 2, 2));
  t.setScaleToModel(NmVec3d(1, 2, 3), 2, 0, -0.5);
  NmDArray<NmVec3d> slice;
  NmDArray<NmVec3d> row;
  slice.resize(16);
  row.resize(4);
  atRandomPoints([&](const NmVec3d& at) {
    NmVec3d point;
    t.setWScaled(at.z, slice);
    t.setV(at.y, slice, row);
    t.setU(at.x, row, point);
    const NmVec3d p = blended(t, at);
    expectNear(point, NmVec3d((p.x + 1) * 2, 0, (p.z + 3) * -0.5), 1e-11);
  });
}

TEST(RegNonAffineTransform, WildCoordinatesAndShortArraysReadNothingOutside) {
  const RegNonAffineTransform t = warped(NmVec3i(2, 2, 2));
  EXPECT_TRUE(std::isfinite(evaluated(t, NmVec3d(1e12, -1e12, 1e12)).x));
  for (const double wild : {nan, infinity, -infinity}) {
    EXPECT_FALSE(std::isfinite(evaluated(t, NmVec3d(wild, 0.5, 0.5)).x));
    EXPECT_TRUE(std::isnan(evaluated(t, NmVec3d(0.5, wild, wild)).x));
  }
  NmDArray<NmVec3d> slice;
  NmDArray<NmVec3d> row;
  NmVec3d point;
  slice.resize(15);
  row.resize(3);
  t.setWScaled(0.5, slice);
  EXPECT_TRUE(std::isnan(slice[14].x));
  t.setV(0.5, slice, row);
  EXPECT_TRUE(std::isnan(row[2].y));
  t.setU(0.5, row, point);
  EXPECT_TRUE(std::isnan(point.z));
}

TEST(RegNonAffineTransform, UpdateEqualsRecomputationAndRestoreIsExact) {
  RegNonAffineTransform t = warped(NmVec3i(2, 2, 2));
  const NmDArray<double> before = t.coefficients;
  NmDArray<int> indices;
  NmDArray<double> deltas;
  NmDArray<int> savedIndices;
  NmDArray<double> savedValues;
  indices.resize(1);
  deltas.resize(1);
  for (int index = 0; index < t.getVariableParamVectorDim(); ++index) {
    indices[0] = index;
    deltas[0] = index == 40 ? infinity : 0.7;
    t.updateCoefficients(indices, deltas, &savedIndices, &savedValues);
    if (index != 40) {
      RegNonAffineTransform whole(t);
      whole.params[index] += deltas[0];
      whole.apply();
      for (long i = 0; i < before.size; ++i)
        EXPECT_NEAR(t.coefficients[i], whole.coefficients[i], 1e-12);
    }
    t.restoreCoefficients(savedIndices, savedValues);
    ASSERT_TRUE(sameBits(t.coefficients, before)) << "parameter " << index;
  }
  // Vertex 26 is corner 7 of the last brick: one term. Vertex 13 is each corner once: 8 + 7 + ...
  // + 1.
  EXPECT_EQ(savedIndices.size, 1);
  indices[0] = 3 * 13 + 1;
  t.updateCoefficients(indices, deltas, &savedIndices, &savedValues);
  EXPECT_EQ(savedIndices.size, 36);
}

TEST(RegNonAffineTransform, UpdatePassesOverWhatDoesNotExist) {
  RegNonAffineTransform t = warped(NmVec3i(1, 1, 1));
  const NmDArray<double> before = t.coefficients;
  NmDArray<int> indices;
  NmDArray<double> deltas;
  NmDArray<int> savedIndices;
  NmDArray<double> savedValues;
  const int given[] = {-1, 24, std::numeric_limits<int>::max(), 3, 4};
  indices.insert(0, 5, given);
  const double some[] = {1, 1, 1, 0};
  deltas.insert(0, 4, some);
  savedIndices.resize(3);
  t.updateCoefficients(indices, deltas, &savedIndices, &savedValues);
  EXPECT_EQ(deltas.size, 5);
  EXPECT_EQ(deltas[4], 0.0);
  EXPECT_EQ(savedIndices.size, 0);
  savedValues.resize(7);
  std::fill_n(savedValues.data, 7, 5.0);
  const int wrong[] = {-3, 24, 1 << 30};
  savedIndices.insert(0, 3, wrong);
  t.restoreCoefficients(savedIndices, savedValues);
  EXPECT_TRUE(sameBits(t.coefficients, before));

  RegNonAffineTransform empty(Descriptor(), NmVec3i(2, 2, 2));
  t.coefficients.clear();
  indices[0] = 0;
  t.updateCoefficients(indices, deltas, nullptr, nullptr);
  EXPECT_EQ(t.coefficients.size, 24);
  EXPECT_EQ(t.coefficients[0], 1.0);
  EXPECT_EQ(t.coefficients[1], 0.0);
}

TEST(RegNonAffineTransform, ARefinedGridKeepsTheMapAndComesBack) {
  RegNonAffineTransform t = warped(NmVec3i(2, 2, 2));
  const RegNonAffineTransform original(t);
  t.prolongate(NmVec3i(2, 2, 2), NmVec3i(4, 4, 4));
  EXPECT_EQ(t.getVariableParamVectorDim(), 375);
  atRandomPoints([&](const NmVec3d& at) {
    if (std::min({at.x, at.y, at.z}) >= 0.0 && std::max({at.x, at.y, at.z}) <= 1.0)
      expectNear(evaluated(t, at), evaluated(original, at), 1e-12);
  });
  t.restrict(NmVec3i(4, 4, 4), NmVec3i(2, 2, 2));
  ASSERT_EQ(t.params.size, original.params.size);
  for (long i = 0; i < t.params.size; ++i) EXPECT_NEAR(t.params[i], original.params[i], 1e-12);
  EXPECT_EQ(t.coefficients.size, 24 * 64) << "coefficients never shrink";
  NmVec3i counts(0, 100, 3);
  t.setNumBricks(counts);
  EXPECT_EQ(counts, NmVec3i(1, 32, 3));
  EXPECT_EQ(t.numBricks, counts);
  t.prolongate(counts, NmVec3i(-5, 1000, 2));
  EXPECT_EQ(t.numBricks, NmVec3i(1, 32, 2));
  EXPECT_TRUE(t.hasVertices());
}

TEST(RegNonAffineTransform, TakesOverAMapOnItsOwnOrThePresentGrid) {
  const RegNonAffineTransform source = warped(NmVec3i(2, 1, 2));
  Descriptor d;
  source.getTransform(d);
  RegNonAffineTransform kept(d, NmVec3i(4, 3, 2));
  EXPECT_EQ(kept.numBricks, NmVec3i(4, 3, 2));
  EXPECT_EQ(kept.referenceBox, source.referenceBox);
  expectNear(evaluated(kept, NmVec3d(0.3, 0.4, 0.7)), evaluated(source, NmVec3d(0.3, 0.4, 0.7)),
             1e-12);
  RegNonAffineTransform taken = identityOver(NmBox3f(0, 1, 0, 1, 0, 1), NmVec3i(4, 4, 4));
  taken.initFromNonAffineTransform(d.box, d.vertices, d.numBricks, false);
  EXPECT_EQ(taken.numBricks, NmVec3i(2, 1, 2));
  EXPECT_TRUE(sameBits(taken.params, source.params));

  const NmDArray<double> before = taken.params;
  taken.initFromNonAffineTransform(d.box, d.vertices, NmVec3i(1, 2, 3), false);
  taken.initFromNonAffineTransform(NmBox3f(), d.vertices, d.numBricks, false);
  d.vertices.resize(3 * 34 * 2 * 2);
  taken.initFromNonAffineTransform(d.box, d.vertices, NmVec3i(33, 1, 1), false);
  EXPECT_TRUE(sameBits(taken.params, before));
  EXPECT_EQ(taken.numBricks, NmVec3i(2, 1, 2));

  d.numBricks = NmVec3i(2, 0, 2);
  EXPECT_EQ(evaluated(RegNonAffineTransform(d, NmVec3i(1, 1, 1)), NmVec3d(1, 1, 1)),
            NmVec3d(10, 20, 5));
}

TEST(RegNonAffineTransform, WithoutVerticesItStaysWithout) {
  RegNonAffineTransform t(Descriptor(), NmVec3i(2, 3, 4));
  EXPECT_FALSE(t.hasVertices());
  EXPECT_EQ(t.getVariableParamVectorDim(), 180);
  EXPECT_TRUE(std::isnan(evaluated(t, NmVec3d(0.5, 0.5, 0.5)).x));
  NmVec3i counts(3, 3, 3);
  t.setNumBricks(counts);
  t.adaptReferenceBoundingBox(NmBox3f(0, 1, 0, 1, 0, 1));
  t.apply();
  EXPECT_EQ(t.numBricks, counts);
  EXPECT_FALSE(t.hasVertices());
  t.numBricks = NmVec3i(1 << 30, 1 << 30, -1);
  t.apply();
  EXPECT_EQ(t.vertexCount(), 0);
  EXPECT_EQ(t.getROIofVertex(nullptr, 0), NmBox3i());
}

TEST(RegNonAffineTransform, ANewBoxKeepsTheMap) {
  RegNonAffineTransform t = identityOver(NmBox3f(0, 10, 0, 20, -5, 5), NmVec3i(3, 2, 4));
  for (long i = 0; i < t.params.size; i += 3) t.params[i] = 2 * t.params[i] + 1;
  t.adaptReferenceBoundingBox(t.referenceBox);
  EXPECT_EQ(evaluated(t, NmVec3d(0, 0, 0)).x, 0.0) << "the same box does not even recompute";
  t.adaptReferenceBoundingBox(NmBox3f(0, 1, 0, -1, 0, 1));
  EXPECT_EQ(evaluated(t, NmVec3d(0, 0, 0)).x, 0.0);
  t.adaptReferenceBoundingBox(NmBox3f(-10, 5, 5, 25, 0, 1));
  EXPECT_EQ(t.referenceBox, NmBox3f(-10, 5, 5, 25, 0, 1));
  expectNear(evaluated(t, NmVec3d(0, 0, 0)), NmVec3d(-19, 5, 0), 1e-12);
  expectNear(evaluated(t, NmVec3d(1, 1, 1)), NmVec3d(11, 25, 1), 1e-12);
}

// 4 x 2 x 1 bricks of 10 x 10 x 9 over a grid of 41 x 11 x 10 voxels of 1 x 2 x 2 from (1, -1, 0).
TEST(RegNonAffineTransform, RegionOfAVertexByHand) {
  RegNonAffineTransform t = identityOver(NmBox3f(0, 40, 0, 20, 0, 9), NmVec3i(4, 2, 1));
  const NmHandle<VlMemoryData> volume(new VlMemoryData(nullptr));
  ASSERT_TRUE(
      volume->init(NmVec3l(41, 11, 10), NmPrimType::UnsignedChar, 1, false, true, false).isOk());
  ASSERT_TRUE(volume->setBoundingBox(NmBox3f(1, 41, -1, 19, 0, 18)).isOk());
  const NmBox3i all(0, 40, 0, 10, 0, 9);
  const auto vertex = [](int i, int j, int k) { return i + 5 * (j + 3 * k); };
  // x from 10 to 30 is voxel 9 to 29; y from 0 to 20 is 0.5 to 10.5, which the grid ends at 10.
  EXPECT_EQ(t.getROIofVertex(volume, vertex(2, 1, 0)), NmBox3i(9, 29, 1, 10, 0, 9));
  // Below index 2 the lower brick is 0: x from 0 (voxel -1) to 20, y from 0 to 10 (voxel 5.5).
  EXPECT_EQ(t.getROIofVertex(volume, vertex(1, 0, 1)), NmBox3i(0, 19, 1, 5, 0, 9));
  EXPECT_EQ(t.getROIofVertex(volume, vertex(4, 2, 1)), NmBox3i(29, 39, 6, 10, 0, 9));
  EXPECT_EQ(t.getROIofVertex(volume, 30), all);
  EXPECT_EQ(t.getROIofVertex(volume, -1), all);
  EXPECT_EQ(t.getROIofVertex(nullptr, 0), NmBox3i(0, -1, 0, -1, 0, -1));
  t.referenceBox.xmax = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(t.getROIofVertex(volume, vertex(2, 1, 0)), NmBox3i(0, 40, 1, 10, 0, 9));
}

}  // namespace
