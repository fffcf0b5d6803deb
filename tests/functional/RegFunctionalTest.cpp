#include "functional/RegFunctional.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <memory>
#include <vector>

#include "foundation/VlMemoryData.h"
#include "metrics/RegMeanSquaredDifference.h"
#include "tests/support/LogCapture.h"
#include "tests/support/volumes.h"
#include "transforms/RegAffineTransform.h"

namespace {

using Volumes = NmDArray<NmHandle<VlData>>;

/// A volume whose voxels follow `value(x, y, z)` in world units.
NmHandle<VlMemoryData> sampledVolume(const NmVec3l& dims, NmPrimType type, const NmBox3f& box,
                                     const std::function<double(double, double, double)>& value) {
  const NmHandle<VlMemoryData> volume = makeVolume(dims, type);
  EXPECT_TRUE(volume->setBoundingBox(box).isOk());
  const NmHandle<VlDataAccess> access = volume->lock(true);
  std::vector<float> row(static_cast<unsigned long>(dims.x));
  const NmVec3f spacing = volume->voxelSpacing();
  for (long z = 0; z < dims.z; ++z)
    for (long y = 0; y < dims.y; ++y) {
      for (long x = 0; x < dims.x; ++x)
        row[static_cast<unsigned long>(x)] =
            static_cast<float>(value(box.xmin + static_cast<double>(x) * spacing.x,
                                     box.ymin + static_cast<double>(y) * spacing.y,
                                     box.zmin + static_cast<double>(z) * spacing.z));
      EXPECT_TRUE(access->putRow(-1, y, z, row.data()).isOk());
    }
  return volume;
}

double linear(double x, double y, double z) {
  return 100.0 + 3.0 * x - 2.0 * y + 1.5 * z;
}

Volumes listOf(std::initializer_list<NmHandle<VlData>> volumes) {
  Volumes list;
  for (const NmHandle<VlData>& volume : volumes) list.insert(list.size, 1, &volume);
  return list;
}

std::unique_ptr<RegFunctional> makeFunctional(const Volumes& references, Volumes models,
                                              RegParametricTransform* transform) {
  return std::make_unique<RegFunctional>(references, models, -1, true, transform,
                                         new RegMeanSquaredDifference(0.0, false), nullptr, 3, 1);
}

/// Reference and model of different grids, boxes and types that sample one linear function of world
/// space, moved by a translation.
class RegFunctionalTest : public testing::Test {
 protected:
  NmHandle<VlData> reference =
      sampledVolume({9, 8, 7}, NmPrimType::Float, {10, 26, -5, 9, 2, 14}, linear);
  NmHandle<VlData> model =
      sampledVolume({21, 31, 11}, NmPrimType::Double, {-10, 50, -30, 45, -20, 40}, linear);
  Volumes references = listOf({reference});
  Volumes models = listOf({model});
  RegAffineTransform transform{references, model, NmMat4f(), 12};
};

TEST_F(RegFunctionalTest, SamplesTheModelWhereTheInverseTransformPoints) {
  const auto functional = makeFunctional(references, models, &transform);
  EXPECT_NEAR(functional->evaluate(), 0.0, 1e-20);
  EXPECT_EQ(functional->metric->numSamples, 9 * 8 * 7);
  EXPECT_EQ(functional->metric->numTotalSamples, 9 * 8 * 7);
  // The model moves by (2, -1, 4): a reference point shows what lies at p - t.
  transform.params[0] += 2.0;
  transform.params[1] += -1.0;
  transform.params[2] += 4.0;
  const double difference = 3.0 * 2.0 - 2.0 * -1.0 + 1.5 * 4.0;
  EXPECT_NEAR(functional->evaluate(), -difference * difference, 1e-9);
}

TEST_F(RegFunctionalTest, SamplesUnderRotationAndScale) {
  const auto functional = makeFunctional(references, models, &transform);
  transform.params[5] = 90.0;  // left-handed about z: (1, 0, 0) goes to (0, -1, 0)
  transform.params[6] = 2.0;   // the model's x is doubled first
  // The centre c of the model's box stays; p = c + ((q - c) scaled, then turned).
  const double c[3] = {20.0, 7.5, 10.0};
  double sum = 0.0;
  for (int k = 0; k < 7; ++k)
    for (int j = 0; j < 8; ++j)
      for (int i = 0; i < 9; ++i) {
        const double p[3] = {10 + 2.0 * i, -5 + 2.0 * j, 2 + 2.0 * k};
        const double q[3] = {c[0] - (p[1] - c[1]) / 2.0, c[1] + (p[0] - c[0]), p[2]};
        const double d = linear(q[0], q[1], q[2]) - linear(p[0], p[1], p[2]);
        sum -= d * d;
      }
  EXPECT_NEAR(functional->evaluate(), sum / (9 * 8 * 7), 1e-7);
  EXPECT_EQ(functional->metric->numSamples, 9 * 8 * 7);
}

TEST_F(RegFunctionalTest, WithoutUpdateTheOldMatrixIsEvaluated) {
  const auto functional = makeFunctional(references, models, &transform);
  const double before = functional->evaluate();
  transform.params[0] += 5.0;
  double penalty = -1.0;
  double time = -1.0;
  EXPECT_EQ(functional->evaluate(false, nullptr, -1, false, nullptr, nullptr, penalty, time),
            before);
  EXPECT_EQ(penalty, 0.0);
  EXPECT_EQ(time, 0.0);
  EXPECT_NEAR(functional->evaluate(true, nullptr, -1, false, nullptr, nullptr, penalty, time),
              -225.0, 1e-9);
}

TEST_F(RegFunctionalTest, SamplesReachHalfAVoxelBeyondTheModelAndNoFurther) {
  // Model voxels are 1 apart: the reference's rows end 0.4 and 0.6 voxels beyond the model.
  const auto value = [](double x, double, double) { return x; };
  const auto small = sampledVolume({5, 5, 5}, NmPrimType::Float, {0, 4, 0, 4, 0, 4}, value);
  for (const float beyond : {0.4f, 0.6f}) {
    const auto row =
        sampledVolume({2, 1, 1}, NmPrimType::Float, {2, 4 + beyond, 2, 2, 2, 2}, value);
    Volumes rows = listOf({row});
    Volumes smalls = listOf({small});
    RegAffineTransform identity(rows, small, NmMat4f(), 12);
    const auto functional = makeFunctional(rows, smalls, &identity);
    functional->evaluate();
    EXPECT_EQ(functional->metric->numSamples, beyond < 0.5f ? 2 : 1);
    EXPECT_EQ(functional->metric->numTotalSamples, 2);
  }
}

TEST_F(RegFunctionalTest, MissingPiecesGiveZeroAndAnEmptyMetric) {
  const auto expectZero = [](RegFunctional& functional) {
    auto& metric = dynamic_cast<RegMeanSquaredDifference&>(*functional.metric);
    metric.increment(1.0, 5.0);
    double penalty = -1.0;
    double time = -1.0;
    EXPECT_EQ(functional.evaluate(true, nullptr, -1, false, nullptr, nullptr, penalty, time), 0.0);
    EXPECT_EQ(metric.numTotalSamples, 0);
    EXPECT_EQ(metric.sumNegSquaredDiff, 0.0);
    EXPECT_EQ(penalty, 0.0);
    EXPECT_EQ(time, 0.0);
  };
  expectZero(*makeFunctional(references, models, nullptr));
  expectZero(*makeFunctional(references, {}, &transform));
  expectZero(*makeFunctional(references, listOf({{}}), &transform));
  expectZero(*makeFunctional(listOf({{}}), models, &transform));
  {
    LogCapture log;
    const NmHandle<VlDataAccess> writing = model->lock(true);
    expectZero(*makeFunctional(references, models, &transform));
  }
  RegFunctional withoutMetric(references, models, -1, true, &transform, nullptr, nullptr, 3, 1);
  EXPECT_EQ(withoutMetric.evaluate(), 0.0);
  const auto empty = makeFunctional({}, models, &transform);
  EXPECT_EQ(empty->evaluate(), -1000.0);
}

TEST_F(RegFunctionalTest, ManyDataVariablesAreRefusedOnceWhenTheLevelIsBuilt) {
  const NmHandle<VlMemoryData> coloured = makeVolume({9, 8, 7}, NmPrimType::Float, 3);
  LogCapture log;
  const auto functional = makeFunctional(listOf({coloured}), models, &transform);
  EXPECT_EQ(functional->evaluate(), 0.0);
  EXPECT_EQ(functional->evaluate(), 0.0);
  EXPECT_EQ(log.error(), "RegFunctional: a volume of 3 data variables can not be registered");
  EXPECT_NE(coloured->tryLock(true), nullptr);
}

TEST_F(RegFunctionalTest, FurtherReferencesLendTheirGridToTheFirstOnesVoxels) {
  const auto flat = sampledVolume({4, 4, 4}, NmPrimType::Float, {0, 3, 0, 3, 0, 3},
                                  [](double, double, double) { return 7.0; });
  const auto sparse = sampledVolume({3, 3, 3}, NmPrimType::Float, {0, 3, 0, 3, 0, 3},
                                    [](double, double, double) { return 1000.0; });
  const auto zero = sampledVolume({4, 4, 4}, NmPrimType::Float, {0, 3, 0, 3, 0, 3},
                                  [](double, double, double) { return 0.0; });
  Volumes two = listOf({flat, sparse});
  RegAffineTransform identity(two, zero, NmMat4f(), 12);
  const auto functional = makeFunctional(two, listOf({zero}), &identity);
  EXPECT_EQ(functional->evaluate(), -49.0);
  EXPECT_EQ(functional->metric->numSamples, 64 + 27);

  LogCapture log;
  const auto larger = makeFunctional(listOf({sparse, flat}), listOf({zero}), &identity);
  EXPECT_EQ(larger->evaluate(), 0.0);
  EXPECT_EQ(log.error(), "evaluateNoClip: reference 1 is larger than the first");
}

TEST_F(RegFunctionalTest, ABoxIsCutToTheGridAndTakesTheMarginalRoute) {
  const auto functional = makeFunctional(references, models, &transform);
  double penalty = 0.0;
  double time = 0.0;
  const auto evaluateBox = [&](const NmBox3i& box, bool marginal) {
    return functional->evaluateMarginal(&box, 0, marginal, nullptr, nullptr, penalty, time);
  };
  functional->evaluate();
  evaluateBox({0, 1, 0, 1, 2, 3}, false);
  EXPECT_EQ(functional->metric->numTotalSamples, 9 * 8 * 2);
  evaluateBox({0, 1, 0, 1, 5, 99}, false);
  EXPECT_EQ(functional->metric->numTotalSamples, 9 * 8 * 2);
  evaluateBox({0, 1, 0, 1, 3, 2}, false);
  EXPECT_EQ(functional->metric->numTotalSamples, 9 * 8 * 7) << "an inverted box is no box";
  evaluateBox({0, 1, 0, 1, 7, 9}, false);
  EXPECT_EQ(functional->metric->numTotalSamples, 0) << "a box beside the grid";
  EXPECT_EQ(evaluateBox({0, 1, 0, 1, 2, 3}, true), 0.0);
}

TEST_F(RegFunctionalTest, ReadLocksLastAsLongAsTheFunctional) {
  const NmHandle<VlData> other =
      sampledVolume({4, 4, 4}, NmPrimType::Short, {0, 3, 0, 3, 0, 3}, linear);
  {
    const auto functional = makeFunctional(listOf({other}), listOf({other}), &transform);
    EXPECT_EQ(other->tryLock(true), nullptr);
    EXPECT_NE(other->tryLock(false), nullptr);
  }
  EXPECT_NE(other->tryLock(true), nullptr);
}

}  // namespace
