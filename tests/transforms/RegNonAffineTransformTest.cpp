#include "transforms/RegNonAffineTransform.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>

#include "tests/support/expectNear.h"
#include "tests/support/grids.h"
#include "tests/support/volumes.h"

namespace {

using Descriptor = RegNonAffineTransform::NonAffineTransformDescriptor;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

const NmBox3f cube(0, 10, 0, 10, 0, 10);
const NmBox3f block(0, 10, 0, 20, -5, 5);

/// The corners of the brick around `at`, weighted.
NmVec3d blended(const RegNonAffineTransform& t, const NmVec3d& at) {
  NmVec3d sum;
  for (int corner = 0; corner < 8; ++corner) {
    double weight = 1.0;
    int vertex = 0;
    for (int a = 2; a >= 0; --a) {
      const double g = at[a] * t.numBricks[a];
      const double brick = std::clamp(std::floor(g), 0.0, t.numBricks[a] - 1.0);
      const int upper = corner >> a & 1;
      weight *= upper == 1 ? g - brick : 1.0 - (g - brick);
      vertex = vertex * (t.numBricks[a] + 1) + static_cast<int>(brick) + upper;
    }
    for (int c = 0; c < 3; ++c) sum[c] += weight * t.params[3 * vertex + c];
  }
  return sum;
}

template <class F>
void atRandomPoints(double low, double high, F&& f) {
  std::mt19937 random(11);
  std::uniform_real_distribution<double> coordinate(low, high);
  for (int n = 0; n < 300; ++n)
    f(NmVec3d(coordinate(random), coordinate(random), coordinate(random)));
}

bool sameBits(const NmDArray<double>& a, const NmDArray<double>& b) {
  return a.size == b.size &&
         std::memcmp(a.data, b.data, static_cast<unsigned long>(a.size) * sizeof(double)) == 0;
}

/// A list of parameter changes and what is saved of the coefficients.
struct Update {
  NmDArray<int> indices, savedIndices;
  NmDArray<double> deltas, savedValues;

  void apply(RegNonAffineTransform& t) {
    t.updateCoefficients(indices, deltas, &savedIndices, &savedValues);
  }
};

TEST(RegNonAffineTransform, TheIdentityIsLimitedToServedGridsAndBoxes) {
  RegNonAffineTransform t({cube, {}, {}}, NmVec3i(0, 33, -7));
  EXPECT_EQ(t.numBricks, NmVec3i(1, 32, 1));
  EXPECT_EQ(evaluated(t, NmVec3d(0.5, -0.5, 1)), NmVec3d(5, -5, 10));
  t.makeIdentityTransform(NmBox3f(0, 10, 3, 3, 0, 10));
  EXPECT_EQ(t.referenceBox, NmBox3f(0, 1, 0, 1, 0, 1));
  EXPECT_EQ(evaluated(t, NmVec3d(0.5, -0.5, 1)), NmVec3d(0.5, -0.5, 1));
  EXPECT_EQ(t.getParamStep(99, nullptr), 0.25);
  EXPECT_EQ(t.makeInverse(), nullptr);
}

TEST(RegNonAffineTransform, StagesEqualATrilinearBlend) {
  RegNonAffineTransform t = jittered(NmVec3i(3, 1, 4), 0.5, block);
  EXPECT_EQ(t.coefficients.size, 24 * 12);
  t.setScaleToModel(NmVec3d(1, 2, 3), 2, 0, -0.5);
  atRandomPoints(-0.3, 1.3, [&](const NmVec3d& at) {
    const NmVec3d p = blended(t, at);
    expectNear(evaluated(t, at), p, 1e-11);
    expectNear(evaluated(t, at, true), NmVec3d((p.x + 1) * 2, 0, (p.z + 3) * -0.5), 1e-11);
  });
}

TEST(RegNonAffineTransform, WildCoordinatesAndShortArraysReadNothingOutside) {
  const RegNonAffineTransform t = jittered(NmVec3i(2, 2, 2), 0.5, block);
  EXPECT_TRUE(std::isfinite(evaluated(t, NmVec3d(1e12, -1e12, 1e12)).x));
  for (const double wild : {nan, infinity, -infinity}) {
    EXPECT_FALSE(std::isfinite(evaluated(t, NmVec3d(wild, 0.5, 0.5)).x));
    EXPECT_TRUE(std::isnan(evaluated(t, NmVec3d(0.5, wild, wild)).x));
  }
  NmDArray<NmVec3d> slice, row;
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
  RegNonAffineTransform t = jittered(NmVec3i(2, 2, 2), 0.5, block);
  const NmDArray<double> before = t.coefficients;
  Update u;
  u.indices.resize(1);
  u.deltas.resize(1);
  for (int index = 0; index < t.getVariableParamVectorDim(); ++index) {
    u.indices[0] = index;
    u.deltas[0] = index == 40 ? infinity : 0.7;
    u.apply(t);
    RegNonAffineTransform whole(t);
    whole.params[index] += 0.7;
    whole.apply();
    for (long i = 0; i < before.size && index != 40; ++i)
      EXPECT_NEAR(t.coefficients[i], whole.coefficients[i], 1e-12);
    t.restoreCoefficients(u.savedIndices, u.savedValues);
    ASSERT_TRUE(sameBits(t.coefficients, before)) << "parameter " << index;
    // Vertex 26 is corner 7 of the last brick: one term. Vertex 13 is each corner once.
    EXPECT_TRUE(index / 3 != 26 || u.savedIndices.size == 1);
    EXPECT_TRUE(index / 3 != 13 || u.savedIndices.size == 8 + 7 + 6 + 5 + 4 + 3 + 2 + 1);
  }
}

TEST(RegNonAffineTransform, UpdatePassesOverWhatDoesNotExist) {
  RegNonAffineTransform t = jittered(NmVec3i(1, 1, 1), 0.5, block);
  const NmDArray<double> before = t.coefficients;
  Update u;
  for (const int index : {-1, 24, std::numeric_limits<int>::max(), 3, 4}) {
    u.indices.insert(u.indices.size, 1, &index);
    u.savedIndices.insert(0, 1, &index);
  }
  const double deltas[] = {1, 1, 1, 0};
  u.deltas.insert(0, 4, deltas);
  u.apply(t);
  EXPECT_EQ(u.deltas[4], 0.0) << "appended";
  EXPECT_EQ(u.savedIndices.size, 0);
  t.restoreCoefficients(u.indices, u.deltas);
  EXPECT_EQ(t.coefficients[3] + t.coefficients[4], 0.0) << "as good as any saved value";
  EXPECT_EQ(t.coefficients[2], before[2]);
  t.coefficients.clear();
  u.indices[0] = 0;
  t.updateCoefficients(u.indices, u.deltas, nullptr, nullptr);
  EXPECT_EQ(t.coefficients.size, 24);
  EXPECT_EQ(t.coefficients[0], 1.0);
  EXPECT_EQ(t.coefficients[1], 0.0);
}

TEST(RegNonAffineTransform, ARefinedGridKeepsTheMapAndComesBack) {
  RegNonAffineTransform t = jittered(NmVec3i(2, 2, 2), 0.5, block);
  const RegNonAffineTransform original(t);
  t.prolongate(NmVec3i(2, 2, 2), NmVec3i(4, 4, 4));
  EXPECT_EQ(t.getVariableParamVectorDim(), 375);
  atRandomPoints(0.0, 1.0, [&](const NmVec3d& at) {
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
  const RegNonAffineTransform source = jittered(NmVec3i(2, 1, 2), 0.5, block);
  Descriptor d;
  source.getTransform(d);
  const RegNonAffineTransform kept(d, NmVec3i(4, 3, 2));
  EXPECT_EQ(kept.numBricks, NmVec3i(4, 3, 2));
  EXPECT_EQ(kept.referenceBox, block);
  expectNear(evaluated(kept, NmVec3d(0.3, 0.4, 0.7)), evaluated(source, NmVec3d(0.3, 0.4, 0.7)),
             1e-12);
  RegNonAffineTransform taken = jittered(NmVec3i(4, 4, 4), 0.0, cube);
  taken.initFromNonAffineTransform(d.box, d.vertices, d.numBricks, false);
  // Refused: a number of vertices that does not fit, an empty box, too many bricks.
  taken.initFromNonAffineTransform(d.box, d.vertices, NmVec3i(1, 2, 3), false);
  taken.initFromNonAffineTransform(NmBox3f(), d.vertices, d.numBricks, false);
  d.vertices.resize(3 * 34 * 2 * 2);
  taken.initFromNonAffineTransform(d.box, d.vertices, NmVec3i(33, 1, 1), false);
  EXPECT_TRUE(sameBits(taken.params, source.params));
  EXPECT_EQ(taken.numBricks, NmVec3i(2, 1, 2));

  d.numBricks = NmVec3i(2, 0, 2);
  EXPECT_EQ(evaluated(RegNonAffineTransform(d, NmVec3i(1, 1, 1)), NmVec3d(1, 1, 1)),
            NmVec3d(10, 20, 5));
}

TEST(RegNonAffineTransform, WithoutVerticesItStaysWithout) {
  RegNonAffineTransform t(Descriptor(), NmVec3i(2, 3, 4));
  EXPECT_EQ(t.getVariableParamVectorDim(), 180);
  EXPECT_TRUE(std::isnan(evaluated(t, NmVec3d(0.5, 0.5, 0.5)).x));
  NmVec3i counts(3, 3, 3);
  t.setNumBricks(counts);
  t.adaptReferenceBoundingBox(cube);
  t.apply();
  EXPECT_EQ(t.numBricks, counts);
  EXPECT_FALSE(t.hasVertices());
  t.numBricks = NmVec3i(1 << 30, 1 << 30, -1);
  t.apply();
  EXPECT_EQ(t.vertexCount(), 0);
}

TEST(RegNonAffineTransform, ANewBoxKeepsTheMap) {
  RegNonAffineTransform t = jittered(NmVec3i(3, 2, 4), 0.0, block);
  for (long i = 0; i < t.params.size; i += 3) t.params[i] = 2 * t.params[i] + 1;
  t.adaptReferenceBoundingBox(t.referenceBox);
  t.adaptReferenceBoundingBox(NmBox3f(0, 1, 0, -1, 0, 1));
  EXPECT_EQ(evaluated(t, NmVec3d(0, 0, 0)).x, 0.0) << "not even recomputed";
  t.adaptReferenceBoundingBox(NmBox3f(-10, 5, 5, 25, 0, 1));
  EXPECT_EQ(t.referenceBox, NmBox3f(-10, 5, 5, 25, 0, 1));
  expectNear(evaluated(t, NmVec3d(0, 0, 0)), NmVec3d(-19, 5, 0), 1e-12);
  expectNear(evaluated(t, NmVec3d(1, 1, 1)), NmVec3d(11, 25, 1), 1e-12);
}

// 4 x 2 x 1 bricks of 10 x 10 x 9 over a grid of 41 x 11 x 10 voxels of 1 x 2 x 2 from (1, -1, 0).
TEST(RegNonAffineTransform, RegionOfAVertexByHand) {
  RegNonAffineTransform t = jittered(NmVec3i(4, 2, 1), 0.0, NmBox3f(0, 40, 0, 20, 0, 9));
  const NmHandle<VlData> volume = makeVolume(NmVec3l(41, 11, 10), NmPrimType::UnsignedChar);
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
