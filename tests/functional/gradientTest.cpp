#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "foundation/NmProgressInterface.h"
#include "functional/RegFunctional.h"
#include "functional/RegOptimizerCallback.h"
#include "metrics/RegCorrelationRatio.h"
#include "metrics/RegMeanSquaredDifference.h"
#include "metrics/RegNormMutualInformation.h"
#include "metrics/RegSimpleMutualInformation.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/LogCapture.h"
#include "tests/support/volumes.h"
#include "transforms/RegAffineTransform.h"
#include "transforms/RegNonAffineTransform.h"

namespace {

using MakeMetric = std::function<RegMetric*()>;

RegMetric* correlation() {
  return new RegCorrelationRatio(10, 190, 5, 195, 0.9, false);
}
RegMetric* difference() {
  return new RegMeanSquaredDifference(1.0, false);
}
RegMetric* normalisedInformation() {
  return new RegNormMutualInformation(NmPrimType::Float, NmPrimType::Float, 10, 190, 5, 195, 24, 20,
                                      0.9, false);
}
RegMetric* simpleInformation() {
  return new RegSimpleMutualInformation(NmPrimType::Float, NmPrimType::Float, 10, 190, 5, 195, 24,
                                        20, 0.9, false);
}

/// A progress object that asks to stop from poll number `limit` on.
class StoppingProgress : public NmProgressInterface {
 public:
  long polls = 0;
  long limit = 1L << 40;
  void startWorking(int, const std::string&) override {}
  void stopWorking() override {}
  void setProgressValue(int) override {}
  bool wasInterrupted() override { return ++polls > limit; }
};

struct Callback : RegOptimizerCallback {
  NmProgressInterface* progress = nullptr;
  NmProgressInterface* getProgressInterface() override { return progress; }
};

/// A texture of a few waves, its values between 0 and 200, shifted along x.
NmHandle<VlData> texture(const NmVec3l& dims, double shift) {
  const NmHandle<VlMemoryData> volume = makeVolume(dims, NmPrimType::Float);
  const NmHandle<VlDataAccess> access = volume->lock(true);
  auto* voxel = static_cast<float*>(access->dataPtr(0));
  for (long z = 0; z < dims.z; ++z)
    for (long y = 0; y < dims.y; ++y)
      for (long x = 0; x < dims.x; ++x) {
        const double u = static_cast<double>(x) + shift;
        *voxel++ = static_cast<float>(
            100 + 45 * std::sin(0.7 * u + 0.3 * static_cast<double>(y)) +
            50 * std::cos(0.5 * static_cast<double>(z) + 0.9 * static_cast<double>(y) - 0.2 * u));
      }
  return volume;
}

/// Reference and model of one texture, shifted by 0.4 voxels, and a functional on them.
struct Scene {
  NmDArray<NmHandle<VlData>> references;
  NmDArray<NmHandle<VlData>> models;
  Callback callback;
  std::unique_ptr<RegParametricTransform> transform;
  std::unique_ptr<RegFunctional> functional;
  LogCapture log;

  explicit Scene(const NmVec3l& dims = {17, 14, 12}) {
    const NmHandle<VlData> reference = texture(dims, 0.0);
    const NmHandle<VlData> model = texture(dims, 0.4);
    references.insert(0, 1, &reference);
    models.insert(0, 1, &model);
  }

  void useAffine(const MakeMetric& makeMetric, int orientation = 3) {
    transform = std::make_unique<RegAffineTransform>(references, models[0], NmMat4f(), 12);
    build(makeMetric, orientation);
  }

  /// A grid over the reference whose vertices have moved a little, too little for a penalty.
  void useGrid(const NmVec3i& bricks, const MakeMetric& makeMetric, int orientation = 3) {
    NmBox3f box;
    references[0]->boundingBox(box);
    transform = std::make_unique<RegNonAffineTransform>(
        RegNonAffineTransform::NonAffineTransformDescriptor{box, {}, {}}, bricks);
    std::mt19937 random(2);
    std::uniform_real_distribution<double> move(-0.1, 0.1);
    for (long i = 0; i < transform->params.size; ++i) transform->params[i] += move(random);
    build(makeMetric, orientation);
  }

  NmDVector<double> gradient(float factor, int unconditional, int* numPenalised = nullptr) {
    NmDVector<double> g;
    g.resize(transform->getVariableParamVectorDim());
    for (long i = 0; i < g.size; ++i) g[i] = 77.0;
    value = functional->evaluateGradient(g, factor, unconditional, numPenalised);
    return g;
  }

  /// Value with one parameter moved, by a whole walk.
  double valueAt(long i, double delta) {
    const double saved = transform->params[i];
    transform->params[i] = saved + delta;
    const double moved = functional->evaluate();
    transform->params[i] = saved;
    return moved;
  }

  double value = 0.0;

 private:
  void build(const MakeMetric& makeMetric, int orientation) {
    functional = std::make_unique<RegFunctional>(references, models, -1, true, transform.get(),
                                                 makeMetric(), &callback, orientation, 1);
  }
};

std::vector<double> copyOf(const NmDArray<double>& values) {
  return {values.data, values.data + values.size};
}

class MarginalGradient : public testing::TestWithParam<std::pair<const char*, MakeMetric>> {};

TEST_P(MarginalGradient, EqualsThatOfWholeWalksAtEveryVertex) {
  Scene s;
  s.useGrid({3, 3, 3}, GetParam().second);
  const auto params = copyOf(s.transform->params);
  int numPenalised = -1;
  const NmDVector<double> g = s.gradient(0.8f, 1, &numPenalised);
  EXPECT_EQ(copyOf(s.transform->params), params);
  EXPECT_EQ(numPenalised, 0);
  EXPECT_EQ(s.value, s.functional->evaluate());
  const double step = 0.25f * 0.8f;
  double largest = 0.0;
  for (long i = 0; i < g.size; ++i) {
    EXPECT_NEAR(g[i], s.valueAt(i, step) - s.valueAt(i, -step), 1e-9 * std::fabs(s.value)) << i;
    largest = std::max(largest, std::fabs(g[i]));
  }
  EXPECT_GT(largest, 1e-4) << "a gradient that says something";
}

TEST_P(MarginalGradient, LeavesTheCoefficientsBitForBit) {
  Scene s;
  s.useGrid({2, 3, 1}, GetParam().second);
  auto& grid = dynamic_cast<RegNonAffineTransform&>(*s.transform);
  grid.apply();
  const auto before = copyOf(grid.coefficients);
  s.gradient(1.0f, 0);
  EXPECT_EQ(copyOf(grid.coefficients), before);
}

INSTANTIATE_TEST_SUITE_P(Metrics, MarginalGradient,
                         testing::Values(std::pair("correlation", MakeMetric(correlation)),
                                         std::pair("normalised", MakeMetric(normalisedInformation)),
                                         std::pair("simple", MakeMetric(simpleInformation))),
                         [](const auto& metric) { return std::string(metric.param.first); });

TEST(Gradient, AffineComponentsAreDifferencesOfWholeWalks) {
  Scene s;
  s.useAffine(correlation);
  NmVec3d size(16, 13, 11);
  const NmDVector<double> g = s.gradient(0.5f, 1);
  for (int i = 0; i < 12; ++i) {
    const double step = static_cast<float>(s.transform->getParamStep(i, &size)) * 0.5f;
    EXPECT_EQ(g[i], s.valueAt(i, step) - s.valueAt(i, -step)) << i;
  }
}

TEST(Gradient, AComponentCountsOnlyWhereATrialBeatsThePresentValue) {
  Scene s;
  s.useAffine(difference);
  s.models = s.references;  // the identity is the best there is
  s.useAffine(difference);
  const NmDVector<double> best = s.gradient(0.5f, 0);
  for (int i = 0; i < 12; ++i) EXPECT_EQ(best[i], 0.0) << i;
  const NmDVector<double> all = s.gradient(0.5f, 1);
  EXPECT_NE(copyOf(all), copyOf(best));
}

TEST(Gradient, LeavesOutWhatLeavesThePlane) {
  Scene s;
  s.useAffine(correlation, 1);
  const NmDVector<double> affine = s.gradient(0.5f, 1);
  for (const int i : {1, 3, 5, 7, 9, 11}) EXPECT_EQ(affine[i], 0.0) << i;
  for (const int i : {0, 2, 4}) EXPECT_NE(affine[i], 0.0) << i;
  s.useGrid({2, 2, 2}, correlation, 2);
  const NmDVector<double> grid = s.gradient(0.5f, 1);
  for (long i = 0; i < grid.size; ++i)
    if (i % 3 == 2) {
      EXPECT_EQ(grid[i], 0.0) << i;
    } else {
      EXPECT_NE(grid[i], 0.0) << i;
    }
}

TEST(Gradient, VerticesAmongEmptyBricksAreNotTried) {
  Scene s;
  {
    const NmHandle<VlDataAccess> access = s.references[0]->lock(true);
    auto* voxel = static_cast<float*>(access->dataPtr(0));
    for (int v = 0; v < 17 * 14 * 12; ++v)
      if (v % 17 > 3) voxel[v] = -1.0f;  // out of range beyond the first of four bricks along x
  }
  s.useGrid({4, 2, 2}, correlation);
  const NmDVector<double> g = s.gradient(0.5f, 1);
  for (long i = 0; i < g.size; ++i) {
    const long column = i / 3 % 5;
    if (column > 1) {
      EXPECT_EQ(g[i], 0.0) << i;
    } else if (column == 0 && i % 3 == 0) {
      EXPECT_NE(g[i], 0.0) << i;
    }
  }
}

TEST(Gradient, PenalisedTrialsAreCounted) {
  Scene s;
  s.useGrid({2, 2, 2}, correlation);
  auto& grid = dynamic_cast<RegNonAffineTransform&>(*s.transform);
  grid.params[0] += 3.0;  // squeezes the first brick
  int numPenalised = -1;
  s.gradient(0.1f, 1, &numPenalised);
  EXPECT_EQ(numPenalised, 24) << "each coordinate of the squeezed brick's eight vertices";
}

TEST(Gradient, SeveralReferencesAreWalkedAsAWhole) {
  Scene s;
  const NmHandle<VlData> second = texture({17, 14, 12}, 0.1);
  s.references.insert(1, 1, &second);
  s.useGrid({2, 1, 1}, correlation);
  const NmDVector<double> g = s.gradient(0.5f, 1);
  const double step = 0.25f * 0.5f;
  for (long i = 0; i < g.size; ++i)
    EXPECT_NEAR(g[i], s.valueAt(i, step) - s.valueAt(i, -step), 1e-12) << i;
  for (const std::string& line : s.log.lines) EXPECT_EQ(line.find("samples"), std::string::npos);
}

TEST(Gradient, OnlyTheFirstOneOfAFunctionalLogsItsSamples) {
  Scene s;
  s.useGrid({1, 1, 1}, correlation);
  s.log.lines.clear();
  s.gradient(0.5f, 1);
  s.gradient(0.5f, 1);
  const long samples = 17 * 14 * 12;
  char expected[64];
  std::snprintf(expected, sizeof expected, "%.3f * 10^6 samples",
                static_cast<double>(samples) / 1e6);
  EXPECT_EQ(std::count(s.log.lines.begin(), s.log.lines.end(), expected), 1);
}

TEST(Gradient, AnInterruptionAtAnyPollGivesZeroAndLeavesNoTrace) {
  for (const bool isGrid : {false, true}) {
    Scene s({7, 6, 5});
    StoppingProgress progress;
    s.callback.progress = &progress;
    if (isGrid)
      s.useGrid({1, 1, 2}, correlation);
    else
      s.useAffine(correlation);
    s.gradient(0.5f, 1);
    const long polls = progress.polls;
    ASSERT_GT(polls, 24);
    const auto params = copyOf(s.transform->params);
    auto* const grid = dynamic_cast<RegNonAffineTransform*>(s.transform.get());
    const auto coefficients = isGrid ? copyOf(grid->coefficients) : std::vector<double>();
    for (long limit = 0; limit < polls; ++limit) {
      progress.polls = 0;
      progress.limit = limit;
      const NmDVector<double> g = s.gradient(0.5f, 1);
      for (long i = 0; i < g.size; ++i) EXPECT_EQ(g[i], 0.0) << limit;
      EXPECT_EQ(copyOf(s.transform->params), params) << limit;
      if (isGrid) {
        EXPECT_EQ(copyOf(grid->coefficients), coefficients) << limit;
      }
    }
  }
}

// A walk takes one block for the rows that it works on: six trials and the box at each vertex.
TEST(Gradient, KeepsNothingAndAllocatesOncePerWalk) {
  if (!FailingAllocation::isServed()) GTEST_SKIP() << "the library's allocations are its own";
  Scene s;
  s.useGrid({5, 5, 5}, normalisedInformation);
  NmDVector<double> g = s.gradient(1.0f, 0);
  const long live = FailingAllocation::liveBlocks();
  for (int call = 0; call < 3; ++call) {
    const long before = FailingAllocation::allocations();
    s.functional->evaluateGradient(g, 1.0f, 0, nullptr);
    EXPECT_LE(FailingAllocation::allocations() - before, 7 * 6 * 6 * 6 + 10);
    EXPECT_EQ(FailingAllocation::liveBlocks(), live);
  }
}

TEST(Gradient, WhatCanNotBeDoneGivesZeroAndALine) {
  Scene s;
  s.useAffine(correlation);
  NmDVector<double> tooShort;
  tooShort.resize(11);
  int numPenalised = 5;
  EXPECT_EQ(s.functional->evaluateGradient(tooShort, 1.0f, 0, &numPenalised), 0.0);
  EXPECT_EQ(numPenalised, 0);
  EXPECT_NE(s.log.error().find("evaluateGradient: "), std::string::npos);
  s.functional->transform = nullptr;
  EXPECT_EQ(s.functional->evaluateGradient(tooShort, 1.0f, 0, nullptr), 0.0);
  EXPECT_NE(s.log.error().find("evaluateGradient: "), std::string::npos);
  s.useAffine(correlation);
  dynamic_cast<RegAffineTransform&>(*s.transform).setDegreesOfFreedom(0);
  EXPECT_EQ(s.functional->evaluateGradient(tooShort, 1.0f, 0, nullptr), s.functional->evaluate())
      << "no free parameter, no component";
}

}  // namespace
