#include "functional/RegFunctional.h"

#include "metrics/RegMeanSquaredDifference.h"
#include "tests/functional/functionals.h"
#include "tests/support/RowVolume.h"
#include "tests/support/grids.h"
#include "transforms/RegAffineTransform.h"

namespace {

/// A volume whose voxels follow `value(x, y, z)` in world units.
NmHandle<VlData> sampledVolume(const NmVec3l& dims, NmPrimType type, const NmBox3f& box,
                               const Field& value) {
  const NmVec3f step = box.getVoxelSize(
      {static_cast<float>(dims.x), static_cast<float>(dims.y), static_cast<float>(dims.z)});
  const NmHandle<VlData> volume = makeVolume(
      dims,
      [&](double x, double y, double z) {
        return value(box.xmin + x * step.x, box.ymin + y * step.y, box.zmin + z * step.z);
      },
      type);
  EXPECT_TRUE(volume->setBoundingBox(box).isOk());
  return volume;
}

NmHandle<VlData> constantVolume(long n, double value) {
  return sampledVolume({n, n, n}, NmPrimType::Float, {0, 3, 0, 3, 0, 3},
                       [=](double, double, double) { return value; });
}

double linear(double x, double y, double z) {
  return 100.0 + 3.0 * x - 2.0 * y + 1.5 * z;
}

/// Reference and model of different grids, boxes and types that sample one linear function of world
/// space.
class RegFunctionalTest : public testing::Test {
 protected:
  NmHandle<VlData> reference =
      sampledVolume({9, 8, 7}, NmPrimType::Float, {10, 26, -5, 9, 2, 14}, linear);
  NmHandle<VlData> model =
      sampledVolume({21, 31, 11}, NmPrimType::Double, {-10, 50, -30, 45, -20, 40}, linear);
  Volumes references = listOf({reference});
  Volumes models = listOf({model});
  RegAffineTransform transform{references, model, NmMat4f(), 12};
  LogCapture log;
  double penalty = -1.0;
  double time = -1.0;

  static std::unique_ptr<RegFunctional> functionalOf(const Volumes& references,
                                                     const Volumes& models,
                                                     RegParametricTransform* transform) {
    return makeFunctional(references, models, transform, new RegMeanSquaredDifference(0.0, false));
  }

  double evaluate(RegFunctional& functional, bool update) {
    return functional.evaluate(update, nullptr, -1, false, nullptr, nullptr, penalty, time);
  }

  void expectZeroAndAnEmptyMetric(RegFunctional& functional) {
    auto& metric = dynamic_cast<RegMeanSquaredDifference&>(*functional.metric);
    metric.increment(1.0, 5.0);
    penalty = time = -1.0;
    EXPECT_EQ(evaluate(functional, true), 0.0);
    EXPECT_EQ(metric.numTotalSamples, 0);
    EXPECT_EQ(metric.sumNegSquaredDiff, 0.0);
    EXPECT_EQ(penalty, 0.0);
    EXPECT_EQ(time, 0.0);
  }
};

TEST_F(RegFunctionalTest, SamplesTheModelWhereTheInverseTransformPoints) {
  const auto functional = functionalOf(references, models, &transform);
  EXPECT_NEAR(functional->evaluate(), 0.0, 1e-20);
  EXPECT_EQ(functional->metric->numTotalSamples, 9 * 8 * 7);
  transform.params[5] = 90.0;  // left-handed about z: (1, 0, 0) goes to (0, -1, 0)
  transform.params[6] = 2.0;   // the model's x is doubled first
  const double shift[3] = {2.0, -1.0, 4.0};
  for (int j = 0; j < 3; ++j) transform.params[j] += shift[j];
  // The centre c of the model's box only shifts; p = c + shift + ((q - c) scaled, then turned).
  const double c[3] = {20.0, 7.5, 10.0};
  double sum = 0.0;
  for (int k = 0; k < 7; ++k)
    for (int j = 0; j < 8; ++j)
      for (int i = 0; i < 9; ++i) {
        const double p[3] = {10 + 2.0 * i, -5 + 2.0 * j, 2 + 2.0 * k};
        const double q[3] = {c[0] - (p[1] - shift[1] - c[1]) / 2.0, c[1] + (p[0] - shift[0] - c[0]),
                             p[2] - shift[2]};
        const double d = linear(q[0], q[1], q[2]) - linear(p[0], p[1], p[2]);
        sum -= d * d;
      }
  EXPECT_NEAR(evaluate(*functional, false), 0.0, 1e-20) << "the matrix is still the old one";
  EXPECT_NEAR(evaluate(*functional, true), sum / (9 * 8 * 7), 1e-7);
  EXPECT_EQ(functional->metric->numSamples, 9 * 8 * 7);
  EXPECT_EQ(penalty, 0.0);
  EXPECT_EQ(time, 0.0);
}

TEST_F(RegFunctionalTest, SamplesReachHalfAVoxelBeyondTheModelAndNoFurther) {
  // Model voxels are 1 apart: both voxels of the row lie 0.4 and 0.6 voxels beyond the model.
  const Volumes small = listOf({makeVolume({5, 5, 5}, NmPrimType::Short)});
  for (const float beyond : {0.4f, 0.6f}) {
    Volumes row = listOf({makeVolume({2, 1, 1}, NmPrimType::Short)});
    EXPECT_TRUE(row[0]->setBoundingBox({-beyond, 4 + beyond, 2, 2, 2, 2}).isOk());
    RegAffineTransform identity(row, small[0], NmMat4f(), 12);
    const auto functional = functionalOf(row, small, &identity);
    functional->evaluate();
    EXPECT_EQ(functional->metric->numSamples, beyond < 0.5f ? 2 : 0);
    EXPECT_EQ(functional->metric->numTotalSamples, 2);
  }
}

TEST_F(RegFunctionalTest, MissingPiecesGiveZeroAndAnEmptyMetric) {
  expectZeroAndAnEmptyMetric(*functionalOf(references, models, nullptr));
  expectZeroAndAnEmptyMetric(*functionalOf(references, {}, &transform));
  expectZeroAndAnEmptyMetric(*functionalOf(references, listOf({{}}), &transform));
  expectZeroAndAnEmptyMetric(*functionalOf(listOf({{}}), models, &transform));
  expectZeroAndAnEmptyMetric(*functionalOf(listOf({reference, {}}), models, &transform));
  expectZeroAndAnEmptyMetric(*functionalOf(listOf({new RowVolume(reference)}), models, &transform));
  EXPECT_TRUE(log.errors.empty());
  {
    const NmHandle<VlDataAccess> writing = model->lock(true);
    expectZeroAndAnEmptyMetric(*functionalOf(references, models, &transform));
  }
  EXPECT_EQ(makeFunctional(references, models, &transform, nullptr)->evaluate(), 0.0);
  EXPECT_EQ(functionalOf({}, models, &transform)->evaluate(), -1000.0);
}

TEST_F(RegFunctionalTest, OnlyTheLockedVolumesOfOneDataVariableAreWalked) {
  const auto coloured = makeVolume({9, 8, 7}, NmPrimType::Float, 3);
  const auto colours = functionalOf(listOf({coloured}), models, &transform);
  expectZeroAndAnEmptyMetric(*colours);
  expectZeroAndAnEmptyMetric(*colours);
  EXPECT_EQ(log.error(), "RegFunctional: a volume of 3 data variables cannot be registered");
  // The grid of a volume that is not locked would be walked on the voxels of another one.
  const auto functional = functionalOf(references, models, &transform);
  functional->reference[0] = model;
  expectZeroAndAnEmptyMetric(*functional);
  functional->reference[0] = reference;
  functional->model[0] = constantVolume(99, 0.0);
  expectZeroAndAnEmptyMetric(*functional);
}

TEST_F(RegFunctionalTest, FurtherReferencesLendTheirGridToTheFirstOnesVoxels) {
  const auto flat = constantVolume(4, 7.0);
  const auto sparse = constantVolume(3, 1000.0);
  const Volumes zero = listOf({constantVolume(4, 0.0)});
  Volumes two = listOf({flat, sparse});
  RegAffineTransform identity(two, zero[0], NmMat4f(), 12);
  const auto functional = functionalOf(two, zero, &identity);
  EXPECT_EQ(functional->evaluate(), -49.0);
  EXPECT_EQ(functional->metric->numSamples, 64 + 27);
  expectZeroAndAnEmptyMetric(*functionalOf(listOf({sparse, flat}), zero, &identity));
  EXPECT_EQ(log.error(), "evaluateNoClip: reference 1 is larger than the first");
}

TEST_F(RegFunctionalTest, ABoxIsCutToTheGridAndTakesTheMarginalRoute) {
  const auto functional = functionalOf(references, models, &transform);
  functional->evaluate();
  const struct {
    int first, last;  // slices
    long voxels;
  } boxes[] = {{2, 3, 9 * 8 * 2},
               {5, 99, 9 * 8 * 2},
               {3, 2, 9 * 8 * 7},  // inverted: no box
               {7, 9, 0}};         // outside the grid
  for (const auto& b : boxes) {
    const NmBox3i box(0, 1, 0, 1, b.first, b.last);
    functional->evaluateMarginal(&box, 0, false, nullptr, nullptr, penalty, time);
    EXPECT_EQ(functional->metric->numTotalSamples, b.voxels) << b.first;
    EXPECT_EQ(functional->evaluateMarginal(&box, 0, true, nullptr, nullptr, penalty, time), 0.0);
  }
}

TEST_F(RegFunctionalTest, AGridWithoutVerticesVisitsVoxelsInVain) {
  RegNonAffineTransform grid({{10, 26, -5, 9, 2, 14}, {}, {}}, NmVec3i(2, 2, 2));
  for (RegMetric* const metric : {correlation(), information(),
                                  static_cast<RegMetric*>(new RegMeanSquaredDifference(0, true))}) {
    const auto functional = makeFunctional(references, models, &grid, metric);
    grid.numBricks = NmVec3i(100000000, 100000000, 2);
    EXPECT_EQ(functional->evaluate(), -1000.0);
    EXPECT_EQ(functional->metric->numTotalSamples, 9 * 8 * 7);
    grid.numBricks = NmVec3i(2, 2, 2);
    EXPECT_NE(functional->evaluate(), -1000.0);
  }
}

TEST_F(RegFunctionalTest, ABoxMayBringAGridAndAMetric) {
  const NmBox3f box(10, 26, -5, 9, 2, 14);
  RegNonAffineTransform moved = jittered(NmVec3i(2, 1, 2), 0.3, box);
  const auto expected = functionalOf(references, models, &moved);
  const auto functional = functionalOf(references, models, &transform);
  functional->transform = nullptr;
  RegMeanSquaredDifference metric(0.0, false);
  const NmBox3i all(0, 8, 0, 7, 0, 6);
  RegNonAffineTransform fresh(moved);
  fresh.setScaleToModel(NmVec3d(), 1, 1, 1);
  const double value =
      functional->evaluateNoClip(&all, 0, false, &fresh, &metric, penalty, time) + penalty;
  EXPECT_EQ(value, evaluate(*expected, true) + penalty);
  EXPECT_EQ(metric.numSamples, 9 * 8 * 7);
}

}  // namespace
