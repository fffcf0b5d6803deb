#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "foundation/NmProgressInterface.h"
#include "functional/RegOptimizerCallback.h"
#include "metrics/RegMeanSquaredDifference.h"
#include "metrics/RegSimpleMutualInformation.h"
#include "tests/functional/functionals.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/grids.h"
#include "transforms/RegAffineTransform.h"

namespace {

/// Asks to stop from poll number `limit` on.
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

const std::string samplesLine = "0.003 * 10^6 samples";  // 17 * 14 * 12 voxels

/// A texture of a few waves, its values between 0 and 200, shifted along x.
NmHandle<VlData> texture(const NmVec3l& dims, double shift) {
  return makeVolume(dims, [=](double x, double y, double z) {
    return 100 + 45 * std::sin(0.7 * (x + shift) + 0.3 * y) +
           50 * std::cos(0.5 * z + 0.9 * y - 0.2 * (x + shift));
  });
}

std::vector<double> copyOf(const NmDArray<double>& values) {
  return {values.data, values.data + values.size};
}

/// Reference and model of one texture, shifted by 0.4 voxels, and a functional on them.
struct Scene {
  NmVec3l dims;
  Volumes references = listOf({texture(dims, 0.0)});
  Volumes models = listOf({texture(dims, 0.4)});
  Callback callback;
  std::unique_ptr<RegParametricTransform> transform;
  std::unique_ptr<RegFunctional> functional;
  LogCapture log;
  double value = 0.0;

  explicit Scene(const NmVec3l& size = {17, 14, 12}) : dims(size) {}

  void useAffine(RegMetric* metric, int orientation = 3) {
    transform = std::make_unique<RegAffineTransform>(references, models[0], NmMat4f(), 12);
    build(metric, orientation);
  }

  /// A grid over the reference whose vertices have moved a little, too little for a penalty.
  RegNonAffineTransform& useGrid(const NmVec3i& bricks, RegMetric* metric, int orientation = 3) {
    NmBox3f box;
    references[0]->boundingBox(box);
    auto grid = std::make_unique<RegNonAffineTransform>(jittered(bricks, 0.1, box));
    RegNonAffineTransform& built = *grid;
    transform = std::move(grid);
    build(metric, orientation);
    return built;
  }

  NmDVector<double> gradient(float factor, int unconditional, int* numPenalised = nullptr) {
    NmDVector<double> g;
    g.resize(transform->getVariableParamVectorDim());
    for (long i = 0; i < g.size; ++i) g[i] = 77.0;
    value = functional->evaluateGradient(g, factor, unconditional, numPenalised);
    return g;
  }

  /// Difference of whole walks with one parameter moved to either side.
  double differenceAt(long i, double step) {
    const double saved = transform->params[i];
    transform->params[i] = saved + step;
    const double plus = functional->evaluate();
    transform->params[i] = saved - step;
    const double minus = functional->evaluate();
    transform->params[i] = saved;
    return plus - minus;
  }

 private:
  void build(RegMetric* metric, int orientation) {
    functional =
        makeFunctional(references, models, transform.get(), metric, &callback, orientation);
  }
};

TEST(Gradient, MarginalTrialsEqualWholeWalksAtEveryVertex) {
  for (RegMetric* const metric :
       {correlation(), information(), information<RegSimpleMutualInformation>()}) {
    Scene s;
    const RegNonAffineTransform& grid = s.useGrid({3, 3, 3}, metric);
    const auto params = copyOf(grid.params);
    const auto coefficients = copyOf(grid.coefficients);
    int numPenalised = -1;
    const NmDVector<double> g = s.gradient(0.8f, 1, &numPenalised);
    EXPECT_EQ(copyOf(grid.params), params);
    EXPECT_EQ(copyOf(grid.coefficients), coefficients);
    EXPECT_EQ(numPenalised, 0);
    EXPECT_EQ(s.value, s.functional->evaluate());
    EXPECT_EQ(copyOf(s.gradient(0.8f, 1)), copyOf(g));
    const auto numLines = std::count(s.log.lines.begin(), s.log.lines.end(), samplesLine);
    EXPECT_EQ(numLines, 1) << "the second gradient logs nothing";
    double largest = 0.0;
    for (long i = 0; i < g.size; ++i) {
      EXPECT_NEAR(g[i], s.differenceAt(i, 0.25f * 0.8f), 1e-9 * std::fabs(s.value)) << i;
      largest = std::max(largest, std::fabs(g[i]));
    }
    EXPECT_GT(largest, 1e-4) << "a gradient that says something";
  }
}

TEST(Gradient, AffineComponentsAreDifferencesOfWholeWalks) {
  Scene s;
  s.useAffine(correlation());
  NmVec3d size(16, 13, 11);
  const NmDVector<double> g = s.gradient(0.5f, 1);
  for (int i = 0; i < 12; ++i)
    EXPECT_EQ(g[i],
              s.differenceAt(i, static_cast<float>(s.transform->getParamStep(i, &size)) * 0.5f))
        << i;
}

TEST(Gradient, AComponentCountsOnlyWhereATrialBeatsThePresentValue) {
  Scene s;
  s.models = s.references;  // the identity is the best there is
  s.useAffine(new RegMeanSquaredDifference(1.0, false));
  EXPECT_EQ(copyOf(s.gradient(0.5f, 0)), std::vector<double>(12, 0.0));
  EXPECT_NE(copyOf(s.gradient(0.5f, 1)), std::vector<double>(12, 0.0));
}

TEST(Gradient, LeavesOutWhatLeavesThePlane) {
  Scene s;
  s.useAffine(correlation(), 1);
  const NmDVector<double> affine = s.gradient(0.5f, 1);
  for (const int i : {1, 3, 5, 7, 9, 11}) EXPECT_EQ(affine[i], 0.0) << i;
  for (const int i : {0, 2, 4}) EXPECT_NE(affine[i], 0.0) << i;
  s.useGrid({2, 2, 2}, correlation(), 2);
  const NmDVector<double> grid = s.gradient(0.5f, 1);
  for (long i = 0; i < grid.size; ++i) EXPECT_EQ(grid[i] == 0.0, i % 3 == 2) << i;
}

TEST(Gradient, VerticesAmongEmptyBricksAreNotTried) {
  Scene s;
  {
    const NmHandle<VlDataAccess> access = s.references[0]->lock(true);
    auto* voxel = static_cast<float*>(access->dataPtr(0));
    for (int v = 0; v < 17 * 14 * 12; ++v)
      if (v % 17 > 3) voxel[v] = -1.0f;  // out of range beyond the first of four bricks along x
  }
  s.useGrid({4, 2, 2}, correlation());
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
  RegNonAffineTransform& grid = s.useGrid({2, 2, 2}, correlation());
  // While the present grid is free, a trial is penalised if the whole moved grid is.
  const auto isPenalised = [&](long i, double move) {
    double penalty, time;
    grid.params[i] += move;
    s.functional->evaluate(true, nullptr, -1, false, nullptr, nullptr, penalty, time);
    grid.params[i] -= move;
    return penalty > 0.0;
  };
  int expected = 0;
  int oneSided = 0;
  for (long i = 0; i < grid.params.size; ++i) {
    const bool plus = isPenalised(i, 1.25);
    const bool minus = isPenalised(i, -1.25);
    expected += plus || minus;
    oneSided += plus != minus;
  }
  int numPenalised = -1;
  s.gradient(5.0f, 1, &numPenalised);
  EXPECT_EQ(numPenalised, expected);
  EXPECT_GT(oneSided, 0);
  grid.params[0] += 3.0;  // squeezes the first brick
  s.gradient(0.1f, 1, &numPenalised);
  EXPECT_EQ(numPenalised, 24) << "each coordinate of the squeezed brick's eight vertices";
}

TEST(Gradient, SeveralReferencesAreWalkedAsAWhole) {
  Scene s;
  s.references = listOf({s.references[0], texture(s.dims, 0.1)});
  s.useGrid({2, 1, 1}, correlation());
  const NmDVector<double> g = s.gradient(0.5f, 1);
  for (long i = 0; i < g.size; ++i) EXPECT_NEAR(g[i], s.differenceAt(i, 0.125), 1e-12) << i;
  for (const std::string& line : s.log.lines) EXPECT_EQ(line.find("samples"), std::string::npos);
}

TEST(Gradient, AnInterruptionAtAnyPollGivesZeroAndLeavesNoTrace) {
  for (const bool isGrid : {false, true}) {
    Scene s({7, 6, 5});
    StoppingProgress progress;
    s.callback.progress = &progress;
    RegNonAffineTransform* grid = nullptr;
    if (isGrid)
      grid = &s.useGrid({1, 1, 2}, correlation());
    else
      s.useAffine(correlation());
    s.gradient(0.5f, 1);
    const long polls = progress.polls;
    ASSERT_GT(polls, 24);
    const auto params = copyOf(s.transform->params);
    const auto coefficients = isGrid ? copyOf(grid->coefficients) : std::vector<double>();
    for (progress.limit = 0; progress.limit < polls; ++progress.limit) {
      progress.polls = 0;
      const auto g = copyOf(s.gradient(0.5f, 1));
      EXPECT_EQ(g, std::vector<double>(g.size(), 0.0)) << progress.limit;
      EXPECT_EQ(copyOf(s.transform->params), params) << progress.limit;
      EXPECT_TRUE(!isGrid || copyOf(grid->coefficients) == coefficients) << progress.limit;
    }
  }
}

// A walk takes one block for the rows that it works on: six trials and the box at each vertex.
TEST(Gradient, KeepsNothingAndAllocatesOncePerWalk) {
  if (!FailingAllocation::isServed()) GTEST_SKIP() << "the library's allocations are its own";
  Scene s;
  s.useGrid({5, 5, 5}, information());
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
  s.useAffine(correlation());
  NmDVector<double> tooShort;
  tooShort.resize(11);
  int numPenalised = 5;
  EXPECT_EQ(s.functional->evaluateGradient(tooShort, 1.0f, 0, &numPenalised), 0.0);
  EXPECT_EQ(numPenalised, 0);
  EXPECT_NE(s.log.error().find("evaluateGradient: "), std::string::npos);
  dynamic_cast<RegAffineTransform&>(*s.transform).setDegreesOfFreedom(0);
  EXPECT_EQ(s.functional->evaluateGradient(tooShort, 1.0f, 0, nullptr), s.functional->evaluate())
      << "no free parameter, no component";
  s.functional->transform = nullptr;
  EXPECT_EQ(s.functional->evaluateGradient(tooShort, 1.0f, 0, nullptr), 0.0);
  EXPECT_NE(s.log.error().find("evaluateGradient: "), std::string::npos);
  // An order of a host's own, with vertices that the grid does not have.
  s.useGrid({1, 1, 1}, correlation());
  s.functional->renumbering.resize(8);
  for (long b = 0; b < 8; ++b) s.functional->renumbering[b] = b < 4 ? 1 << 29 : -1;
  EXPECT_EQ(copyOf(s.gradient(0.5f, 1)), std::vector<double>(24, 77.0));
}

}  // namespace
