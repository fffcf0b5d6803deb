#include <cmath>
#include <limits>
#include <random>
#include <type_traits>

#include "functional/reg_evaluateUniform.h"
#include "tests/functional/familySums.h"
#include "tests/functional/naiveWalk.h"

namespace {

using namespace kernelCases;
using voxreg::detail::KernelTable;

/// A map that turns by three angles and scales, sending the middle of the reference to `centre` of
/// the model, with the signs that the row's direction has.
naive::Geometry turned(const NmVec3i& dims, const NmVec3i& modelDims, double angle, double scale,
                       const NmVec3d& centre) {
  naive::Geometry g;
  g.dims = dims;
  g.modelDims = modelDims;
  const double c = std::cos(angle);
  const double s = std::sin(angle);
  const double rows[3][3] = {{c * c, -c * s, -s},
                             {c * s + s * s * c, c * c - s * s * s, s * c},
                             {c * s * c - s * s, -c * s * s - s * c, c * c}};
  for (int axis = 0; axis < 3; ++axis)
    for (int k = 0; k < 3; ++k) g.step[axis][k] = rows[axis][k] * scale;
  for (int k = 0; k < 3; ++k) {
    g.start[k] = centre[k] - 0.5 * (dims.x - 1) * g.step[0][k] - 0.5 * (dims.y - 1) * g.step[1][k] -
                 0.5 * (dims.z - 1) * g.step[2][k];
    g.bounds[2 * k] = -0.5;
    g.bounds[2 * k + 1] = modelDims[k] - 0.5;
    g.signs[k] = g.step[0][k] > 1e-5 ? 1 : g.step[0][k] < -1e-5 ? -1 : 2;
  }
  return g;
}

/// Feeds the metric through the function of its family.
template <class T, class U, class Metric>
void runDoor(const naive::Geometry& g, const std::vector<T>& reference, const std::vector<U>& model,
             const NmBox3i& box, Metric& metric, int numHistograms) {
  if constexpr (std::is_same_v<Metric, RegMeanSquaredDifference>)
    reg_evaluateUniformMSD<T, U>(reference.data(), model.data(), g.dims, box, g.signs, g.start,
                                 g.step[0], g.step[1], g.step[2], &metric, g.bounds, &g.modelDims.x,
                                 nullptr, numHistograms);
  else if constexpr (std::is_same_v<Metric, RegCorrelationRatio>)
    reg_evaluateUniformCorrAffine<T, U>(reference.data(), model.data(), g.dims, g.signs, g.start,
                                        g.step[0], g.step[1], g.step[2], &metric, g.bounds,
                                        &g.modelDims.x, numHistograms);
  else
    reg_evaluateUniformMIAffine<T, U>(reference.data(), model.data(), g.dims, g.signs, g.start,
                                      g.step[0], g.step[1], g.step[2], &metric, g.bounds,
                                      &g.modelDims.x, numHistograms);
}

/// Feeds the metric by the kernels of one set, or through its function if it has one.
template <class T, class U, class Metric>
void runKernel(const naive::Geometry& g, const std::vector<T>& reference,
               const std::vector<U>& model, const NmBox3i& box, Metric& metric,
               const KernelTable* table, int numHistograms = 1) {
  if constexpr (kernelCases::hasFunction<Metric>)
    if (table == nullptr) return runDoor(g, reference, model, box, metric, numHistograms);
  voxreg::detail::WalkFrame frame = frameOf(g, reference, model, box);
  for (int a = 0; a < 3; ++a) {
    frame.signs[a] = g.signs[a];
    for (int end = 0; end < 2; ++end) frame.bounds[a][end] = g.bounds[2 * a + end];
  }
  voxreg::detail::familyOf(&metric)->walkAffine(
      frame, metric, numHistograms, table != nullptr ? *table : voxreg::detail::kernels());
}

/// The box limits the slices of the difference family alone. Returns the number of its samples.
template <class T, class U>
long expectNaiveBits(const naive::Geometry& g, const NmBox3i& box) {
  const auto reference = randomVoxels<T>(g.dims, 7);
  const auto model = randomVoxels<U>(g.modelDims, 11);
  FamilySums expected;
  for (int slice = 0; slice < g.dims.z; ++slice) {
    naive::affineWalk(g, model, slice, slice, [&](int x, int y, int z, double m) {
      const auto r = static_cast<double>(reference[naive::index(g.dims, x, y, z)]);
      if (z >= box.zmin && z <= box.zmax) expected.difference.increment(r, m);
      expected.slice.increment(r, m);
      expected.information.increment(r, m);
    });
    expected.finishSlice();
  }
  const long perSlice = static_cast<long>(g.dims.x) * g.dims.y;
  expected.expectFrom(
      [&](auto& metric, const KernelTable* table) {
        runKernel(g, reference, model, box, metric, table);
      },
      {perSlice * (box.zmax - box.zmin + 1), perSlice * g.dims.z});
  return expected.difference.numSamples;
}

TEST(AffineKernels, EveryTypePairGivesTheBitsOfTheNaiveWalk) {
  forEachTypePair([]<class T, class U>() {
    const auto g = turned({67, 19, 11}, {17, 21, 9}, 0.3, 0.3, {8, 10, 4});
    expectNaiveBits<T, U>(g, g.grid());
  });
}

TEST(AffineKernels, CorrelationLeavesOutNanAndKeepsTheLimits) {
  const auto g = turned({4, 1, 1}, {4, 1, 1}, 0.0, 1.0, {1.5, 0, 0});
  const std::vector<float> reference = {20.0f, 200.0f, 200.1f, std::nanf("")};
  const std::vector<float> within(4, 100.0f);
  const std::vector<double> model = {10.5, std::nan(""), 190.5, 190.0};
  forEachPath([&](const KernelTable* table) {
    FamilySums sums;
    runKernel(g, reference, within, g.grid(), sums.correlation, table);
    EXPECT_EQ(sums.correlation.numSamples, 2);
    runKernel(g, within, model, g.grid(), sums.correlation, table);
    EXPECT_EQ(sums.correlation.numSamples, 2 + 1) << "a NaN voxel spoils both samples that read it";
  });
}

TEST(AffineKernels, InformationPutsTheEdgesOfTheRangeIntoTheEdgeBins) {
  const auto g = turned({6, 1, 1}, {6, 1, 1}, 0.0, 1.0, {2.5, 0, 0});
  const std::vector<float> reference = {
      -1.0e30f, 20.0f, 200.0f, 1.0e30f, std::nanf(""), std::numeric_limits<float>::infinity()};
  const std::vector<float> model(6, 10.5f);
  forEachPath([&](const KernelTable* table) {
    for (const int numHistograms : {1, 3}) {  // replaced, or added to
      RegNormMutualInformation metric = FamilySums::binned();
      metric.jointHistogram[0] = 5.0;
      runKernel(g, reference, model, g.grid(), metric, table, numHistograms);
      const auto row = [&](int i) { return metric.jointHistogram[i * metric.numBinsMod]; };
      ASSERT_EQ(metric.numBinsRef, 14);
      EXPECT_EQ(metric.numSamples, 6);
      EXPECT_EQ(row(0), numHistograms > 1 ? 8.0 : 3.0) << "below, at the minimum, and NaN";
      EXPECT_EQ(row(12), 1.0) << "the maximum";
      EXPECT_EQ(row(13), 2.0) << "beyond it";
    }
  });
}

TEST(AffineKernels, RowsEnterAndLeaveTheModelAsTheNaiveWalkDoes) {
  std::mt19937 random(3);
  std::uniform_real_distribution<double> angle(-3.1, 3.1);
  std::uniform_real_distribution<double> scale(0.2, 3.0);
  std::uniform_real_distribution<double> centre(-6.0, 24.0);
  std::uniform_int_distribution<int> length(1, 21);
  for (int trial = 0; trial < 400; ++trial) {
    const NmVec3i dims(length(random), length(random), length(random) % 5 + 1);
    const NmVec3i modelDims(length(random), length(random), length(random));
    const auto g = turned(dims, modelDims, angle(random), scale(random),
                          {centre(random), centre(random), centre(random)});
    expectNaiveBits<short, unsigned char>(g, g.grid());
    if (HasFailure()) return;
  }
}

TEST(AffineKernels, AxisAlignedWalksClipOnExactBounds) {
  // Whole steps that start on a bound: t is exactly an integer on both sides.
  for (const double first : {-3.5, -1.0, -0.5, 0.0, 4.0})
    for (const double step : {1.0, -1.0, 0.5, 2.0}) {
      auto g = turned({12, 5, 3}, {8, 5, 3}, 0.0, 1.0, {0, 0, 0});
      g.start = {step > 0 ? first : 7.0 - first, 0.0, 0.0};
      g.step[0] = {step, 0.0, 0.0};
      g.signs = {step > 0 ? 1 : -1, 2, 2};
      expectNaiveBits<float, double>(g, g.grid());
    }
}

TEST(AffineKernels, BoxLimitsTheSlicesAndIsCutToTheReference) {
  const auto g = turned({9, 8, 6}, {9, 8, 6}, 0.1, 1.0, {4, 4, 3});
  expectNaiveBits<int, float>(g, {3, 4, 2, 2, 2, 4});  // x and y of the box are not used
  const auto reference = randomVoxels<short>(g.dims, 1);
  const auto model = randomVoxels<short>(g.modelDims, 2);
  for (const auto& [box, voxels] :
       {std::pair(NmBox3i(0, 8, 0, 7, -5, 90), 9 * 8 * 6), {NmBox3i(0, 8, 0, 7, 6, 9), 0}}) {
    RegMeanSquaredDifference metric(1.0, false);
    runKernel(g, reference, model, box, metric, nullptr);
    EXPECT_EQ(metric.numTotalSamples, voxels);
  }
}

// Far away there are no samples; NaN reads voxel 0 of its axis.
TEST(AffineKernels, FarPositionsAndNanAreThoseOfTheNaiveWalk) {
  auto g = turned({6, 5, 4}, {7, 7, 7}, 0.2, 1.0, {3, 3, 3});
  for (const double far :
       {1.0e6, -1.0e6, 1.0e300, -1.0e300, std::numeric_limits<double>::infinity()}) {
    g.start.y = far;
    expectNaiveBits<short, short>(g, g.grid());
  }
  g = turned({4, 3, 2}, {5, 5, 5}, 0.0, 1.0, {2, 2, 2});
  g.start = {std::nan(""), 1.0, 1.0};
  g.signs = {1, 2, 2};
  EXPECT_EQ((expectNaiveBits<short, double>(g, g.grid())), 24);
}

TEST(AffineKernels, FlatModelAxisIsNotClipped) {
  auto g = turned({5, 4, 3}, {5, 4, 1}, 0.0, 1.0, {2, 1.5, 0});
  g.signs.z = 0;
  g.bounds[4] = g.bounds[5] = 0.0;
  for (int axis = 0; axis < 3; ++axis) g.step[axis].z = 0.0;
  g.start.z = 0.0;
  EXPECT_EQ((expectNaiveBits<short, short>(g, g.grid())), 60);
}

TEST(AffineKernels, MissingArgumentsAddNothing) {
  const auto g = turned({4, 3, 2}, {5, 5, 5}, 0.0, 1.0, {2, 2, 2});
  const auto voxels = randomVoxels<short>({5, 5, 5}, 1);
  for (int missing = 0; missing < 4; ++missing) {
    const int modelDims[3] = {5, missing == 0 ? 0 : 5, 5};
    RegMeanSquaredDifference metric(1.0, false);
    reg_evaluateUniformMSD<short, short>(missing == 1 ? nullptr : voxels.data(),
                                         missing == 2 ? nullptr : voxels.data(), g.dims, g.grid(),
                                         g.signs, g.start, g.step[0], g.step[1], g.step[2], &metric,
                                         g.bounds, missing == 3 ? nullptr : modelDims, nullptr, 1);
    EXPECT_EQ(metric.numTotalSamples, 0) << missing;
  }
}

}  // namespace
