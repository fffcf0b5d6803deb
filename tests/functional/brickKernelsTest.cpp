#include <cmath>
#include <limits>

#include "functional/reg_evaluateUniform.h"
#include "tests/functional/familySums.h"
#include "tests/functional/naiveWalk.h"
#include "tests/support/grids.h"

namespace {

using namespace kernelCases;
using voxreg::detail::KernelTable;

enum class Family { difference, ranged };

/// A reference of 19 x 14 x 6 voxels, 1.5 x 2 x 3 apart from (-3, 4, 10) on, a model of 15 x 17 x 9
/// around it, and a grid of bricks that covers about the reference, its vertices displaced at
/// random.
struct Scene {
  NmVec3i dims{19, 14, 6};
  NmVec3i modelDims{15, 17, 9};
  NmVec3d start{-3.0, 4.0, 10.0};
  NmVec3d step[3] = {{1.5, 0.0, 0.0}, {0.0, 2.0, 0.0}, {0.0, 0.0, 3.0}};
  NmBox3i box{0, 18, 0, 13, 0, 5};
  RegNonAffineTransform transform;

  explicit Scene(const NmVec3i& bricks, double displacement = 2.5,
                 const NmBox3f& gridBox = {-2.2f, 23.0f, 3.0f, 29.5f, 10.5f, 24.0f})
      : transform(jittered(bricks, displacement, gridBox)) {
    transform.setScaleToModel({5.0, -2.0, -8.5}, 0.45, 0.55, 0.5);
  }
};

/// Calls visit(x, y, z, sampleCounts, modelValue) for every voxel of the box, in order.
template <class U, class Visit>
void naiveBrickWalk(const Scene& s, Family family, const std::vector<U>& model, Visit visit) {
  const RegNonAffineTransform& t = s.transform;
  const NmBox3f& a = t.referenceBox;
  const int nx = s.dims.x;
  const int ny = s.dims.y;
  double sx = 1.0;
  double sy = 1.0;
  if (family == Family::difference) {
    if (nx > 1)
      sx = ((s.step[1].x * (ny - 1) + s.step[0].x * (nx - 1) + s.start.x) - s.start.x) / (nx - 1);
    if (ny > 1)
      sy = ((s.step[0].y * (nx - 1) + s.start.y + s.step[1].y * (ny - 1)) - s.start.y) / (ny - 1);
  } else {
    if (nx > 1) sx = (s.step[0].x * (nx - 1) + s.step[1].x * (ny - 1)) / (nx - 1);
    if (ny > 1) sy = (s.step[0].y * (nx - 1) + s.step[1].y * (ny - 1)) / (ny - 1);
  }
  const double ex = a.xmax - a.xmin;
  const double ey = a.ymax - a.ymin;
  const double ez = a.zmin < a.zmax ? a.zmax - a.zmin : 1.0f;
  const int bricks = t.numBricks.x;
  NmDArray<NmVec3d> slice;
  NmDArray<NmVec3d> row;
  slice.resize(4L * bricks * t.numBricks.y);
  row.resize(2L * bricks);
  for (int z = s.box.zmin; z <= s.box.zmax; ++z) {
    double w = (z * s.step[2].z + s.start.z - a.zmin) / ez;
    w = w < 0 ? 0 : w > 1 ? 1 : w;
    t.setWScaled(w, slice);
    double v = ey > 0 ? ((s.start.y + s.box.ymin * sy) - a.ymin) / ey : 0.0;
    for (int y = s.box.ymin; y <= s.box.ymax; ++y) {
      t.setV(v, slice, row);
      double u = ex > 0 ? ((s.start.x + s.box.xmin * sx) - a.xmin) * bricks / ex : 0.0;
      for (int x = s.box.xmin; x <= s.box.xmax; ++x) {
        const double limited = u < 0 ? 0 : u > bricks - 1 ? bricks - 1 : std::trunc(u);
        const long b = std::isnan(u) ? 0 : static_cast<long>(limited);
        const double r = u - static_cast<double>(b);
        double p[3];
        bool inside = true;
        for (int k = 0; k < 3; ++k) {
          p[k] = row[2 * b][k] + r * row[2 * b + 1][k];
          inside = inside && p[k] >= -0.5 && p[k] <= s.modelDims[k] - 1 + 0.5;
        }
        visit(x, y, z, inside, inside ? naive::sample(model, s.modelDims, p) : 0.0);
        u += ex > 0 ? sx * bricks / ex : 1.0;
      }
      v += ey > 0 ? sy / ey : 1.0;
    }
  }
}

/// Runs the kernel of the metric's family over the scene, or its function if it has one.
template <class T, class U, class Metric>
void runKernel(Scene& s, const std::vector<T>& reference, const std::vector<U>& model,
               Metric& metric, const KernelTable* table = nullptr) {
  if constexpr (kernelCases::hasFunction<Metric>) {
    const double noBounds[6] = {};
    if (table == nullptr)
      return reg_evaluateUniform<T, U>(reference.data(), model.data(), s.dims, s.box, NmVec3i(),
                                       s.start, s.step[0], s.step[1], s.step[2], &metric, noBounds,
                                       &s.modelDims.x, &s.transform, 1);
  }
  voxreg::detail::familyOf(&metric)->walkBricks(
      frameOf(s, reference, model, s.box), s.transform, metric, 1,
      table != nullptr ? *table : voxreg::detail::kernels());
}

/// Returns the number of samples of the difference family.
template <class T, class U>
long expectNaiveBits(Scene& s) {
  const auto reference = randomVoxels<T>(s.dims, 7);
  const auto model = randomVoxels<U>(s.modelDims, 11);
  const auto at = [&](int x, int y, int z) {
    return static_cast<double>(reference[naive::index(s.dims, x, y, z)]);
  };
  FamilySums expected;
  naiveBrickWalk(s, Family::difference, model, [&](int x, int y, int z, bool counts, double m) {
    if (counts) expected.difference.increment(at(x, y, z), m);
  });
  int lastSlice = s.box.zmin;
  naiveBrickWalk(s, Family::ranged, model, [&](int x, int y, int z, bool counts, double m) {
    if (z != lastSlice) expected.finishSlice();
    lastSlice = z;
    const double r = at(x, y, z);
    if (!counts || !(r >= 20.0 && r <= 200.0) || !(m >= 10.5 && m <= 190.0)) return;
    expected.slice.increment(r, m);
    expected.information.increment(r, m);
  });
  expected.finishSlice();
  const long total = (s.box.xmax - s.box.xmin + 1L) * (s.box.ymax - s.box.ymin + 1L) *
                     (s.box.zmax - s.box.zmin + 1L);
  expected.expectFrom(
      [&](auto& metric, const KernelTable* table) {
        runKernel(s, reference, model, metric, table);
      },
      {total, total});
  return expected.difference.numSamples;
}

TEST(BrickKernels, EveryTypePairGivesTheBitsOfTheNaiveWalk) {
  Scene scene({3, 4, 2});
  forEachTypePair([&]<class T, class U>() {
    const long samples = expectNaiveBits<T, U>(scene);
    EXPECT_GT(samples, 500) << "too few to mean anything";
    EXPECT_LT(samples, 19 * 14 * 6) << "none lies outside";
  });
}

TEST(BrickKernels, EveryBoxAndGridGivesTheBitsOfTheNaiveWalk) {
  for (const NmVec3i& bricks : {NmVec3i(1, 1, 1), NmVec3i(5, 2, 3), NmVec3i(32, 32, 32)}) {
    Scene scene(bricks, 1.0);
    for (const NmBox3i& box : {NmBox3i(0, 18, 0, 13, 0, 5), NmBox3i(7, 7, 5, 5, 2, 2),
                               NmBox3i(3, 11, 4, 12, 1, 4), NmBox3i(12, 18, 0, 3, 5, 5)}) {
      scene.box = box;
      expectNaiveBits<short, float>(scene);
    }
  }
  Scene large({3, 4, 2});
  large.dims = {71, 14, 11};
  large.step[0].x = 0.4;
  large.step[2].z = 1.5;
  large.box = {0, 70, 0, 13, 0, 10};
  expectNaiveBits<short, unsigned char>(large);
}

TEST(BrickKernels, GridsBesideLargerAndFlatterThanTheVolumeExtrapolate) {
  for (const NmBox3f& gridBox : {NmBox3f(4, 9, 10, 15, 14, 18), NmBox3f(-50, 70, -60, 90, -40, 80),
                                 NmBox3f(40, 60, 40, 60, 40, 60)}) {
    Scene scene({4, 3, 2}, 1.0, gridBox);
    expectNaiveBits<unsigned char, short>(scene);
  }
  Scene flat({4, 3, 2}, 0.5);
  flat.transform.referenceBox = {3, 3, 7, 7, 12, 12};
  expectNaiveBits<short, short>(flat);
  Scene line({4, 3, 2}, 0.5);
  line.dims = {1, 1, 6};
  line.box = {0, 0, 0, 0, 0, 5};
  line.modelDims = {15, 17, 1};
  line.transform.scaleToModel.z = 0.0;
  expectNaiveBits<float, double>(line);
}

TEST(BrickKernels, HostileVerticesReadNothingOutOfBounds) {
  constexpr double infinity = std::numeric_limits<double>::infinity();
  for (const double bad : {std::nan(""), infinity, -infinity, 1.0e300, -1.0e12}) {
    Scene scene({3, 4, 2});
    for (long i = 0; i < scene.transform.params.size; i += 7) scene.transform.params[i] = bad;
    scene.transform.apply();
    expectNaiveBits<short, unsigned short>(scene);
  }
}

TEST(BrickKernels, ABoxBesideTheVolumeIsEmpty) {
  Scene scene({2, 2, 2});
  scene.box = {0, 18, 0, 13, 6, 9};
  RegMeanSquaredDifference difference(1.0, false);
  runKernel(scene, randomVoxels<short>(scene.dims, 1), randomVoxels<short>(scene.modelDims, 1),
            difference);
  EXPECT_EQ(difference.numTotalSamples, 0);
}

}  // namespace
