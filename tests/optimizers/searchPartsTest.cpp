#include <climits>
#include <cmath>
#include <initializer_list>

#include "optimizers/NmTensorProductMatrix.h"
#include "optimizers/RegGradientOptimizer.h"
#include "optimizers/searchProgress.h"
#include "optimizers/stepSchedule.h"
#include "tests/optimizers/searchTrace.h"

namespace {

NmDVector<double> vector(std::initializer_list<double> values) {
  NmDVector<double> v;
  v.insert(0, static_cast<long>(values.size()), values.begin());
  return v;
}

// 2 * identity + 3 * u u' - w w' with u = (1, 2, 0) and w = (0, 1, -1), times (1, 1, 2).
TEST(NmTensorProductMatrix, MultipliesAsTheMatrixItStandsForWhatFits) {
  NmTensorProductMatrix<double> matrix(3);
  matrix.diagonal = 2.0;
  EXPECT_EQ(matrix.addEntry(vector({1, 2, 0}), 3.0), 1);
  EXPECT_EQ(matrix.addEntry(vector({0, 1, -1}), -1.0), 1);
  EXPECT_EQ(matrix.addEntry(vector({1, 1}), 1.0), 0);
  NmDVector<double> v = vector({1, 1, 2});
  NmDVector<double> result;
  ASSERT_EQ(matrix.multVec(v, result), 1);
  ASSERT_EQ(matrix.multVec(v, v), 1);
  for (long i = 0; i < 3; ++i)
    EXPECT_TRUE(result[i] == vector({11, 21, 3})[i] && v[i] == result[i]);
  EXPECT_EQ(matrix.multVec(vector({1, 1}), result), 0);
  matrix.weights.resize(3);
  EXPECT_EQ(matrix.multVec(vector({1, 1, 1}), result), 0);
  const NmDVector<double> two = vector({1, 1});
  matrix.vectors.insert(2, 1, &two);
  EXPECT_EQ(matrix.multVec(vector({1, 1, 1}), result), 0);
  EXPECT_EQ(result[1], 21.0);
}

using voxreg::detail::partToConvergence;
using voxreg::detail::SearchProgress;

std::vector<int> reported(int stageNumber, int numStages, float part, int percent) {
  SearchWatcher watcher;
  RegGradientOptimizer search(&watcher, 0.1f, false);
  search.stageNumber = stageNumber;
  search.numStages = numStages;
  const SearchProgress progress(search);
  progress.reportPart(part);
  progress.reportPercent(percent);
  return watcher.values;
}

TEST(SearchProgress, SharesTheWholeAmongTheStages) {
  EXPECT_EQ(reported(1, 1, 0.25f, 40), (std::vector<int>{25, 40}));
  EXPECT_EQ(reported(7, 0, 1.0f, 1), (std::vector<int>{100, 1}));
  EXPECT_EQ(reported(3, 4, 0.5f, 50), (std::vector<int>{63, 13}));
  EXPECT_EQ(reported(-5, 2, 0.0f, 1), (std::vector<int>{0, 1}));
  EXPECT_EQ(reported(INT_MIN, 2, std::nanf(""), 0), (std::vector<int>{0, 0}));
  EXPECT_EQ(reported(INT_MAX, 2, 1.0f, 1)[0], 2147483520);
}

TEST(SearchProgress, FollowsTheLogarithmOfTheGain) {
  EXPECT_FLOAT_EQ(partToConvergence(1.0, std::exp(4.0)), 0.6f);
  EXPECT_EQ(partToConvergence(1.0, std::exp(11.0)), 0.0f);
  EXPECT_EQ(partToConvergence(1.0, 0.0), 1.0f);
  EXPECT_EQ(partToConvergence(0.0, 0.0), 0.0f);
  EXPECT_EQ(partToConvergence(-1.0, 1.0), 0.0f);
  EXPECT_EQ(partToConvergence(1.0, std::nan("")), 0.0f);
}

using voxreg::detail::fitStepSchedule;
using voxreg::detail::StepSchedule;

TEST(StepSchedule, MeetsBothEndsInWholeReductions) {
  const struct {
    float maxStep, minStep, reduction;
    int numSteps;
    float fitted, firstStep;
  } fits[] = {
      {1.0f, 1.0f, 0.9f, 0, 0.5f, 1.0f},  // no reduction resets the factor
      {3.0f, 2.0f, 0.5f, 0, 0.5f, 2.0f},  // one step only, and it is the smallest
      {8.0f, 1.0f, 0.5f, 3, 0.5f, 8.0f},
      {1.0f, 0.3f, 0.5f, 1, 0.3f, 1.0f},               // truncated: the factor never grows
      {1.0f, 0.08f, 0.3f, 2, std::sqrt(0.08f), 1.0f},  // ln 0.08 / ln 0.3 = 2.1
      // The quotient of logarithms is 4.9999995 in double, but 5 in float.
      {1.0f, 0x1.4f8948p-2f, 0x1.999918p-1f, 5, 0x1.999918p-1f, 1.0f},
      {1.0f, 4.0f, 2.0f, 2, 2.0f, 1.0f},
      {1.0f, 2.0f, 0.5f, -1, 0.5f, 1.0f},  // nothing to search
  };
  for (const auto& fit : fits) {
    float reduction = fit.reduction;
    const StepSchedule schedule = fitStepSchedule(fit.maxStep, fit.minStep, reduction);
    EXPECT_EQ(schedule.numSteps, fit.numSteps) << fit.maxStep << " to " << fit.minStep;
    EXPECT_FLOAT_EQ(reduction, fit.fitted) << fit.maxStep << " to " << fit.minStep;
    if (fit.numSteps < 0) continue;
    EXPECT_FLOAT_EQ(schedule.firstStep, fit.firstStep);
  }
}

TEST(StepSchedule, WithoutAFiniteNumberOfReductionsThereIsNoStepAndTheFactorStays) {
  const float inputs[][3] = {
      {0.0f, 1.0f, 0.5f}, {1.0f, 0.0f, 0.5f},      {0.0f, 0.0f, 0.5f},      {-1.0f, 1.0f, 0.5f},
      {NAN, 1.0f, 0.5f},  {1.0f, HUGE_VALF, 0.5f}, {HUGE_VALF, 1.0f, 0.5f}, {2.0f, 1.0f, 1.0f},
      {1.0f, 1.0f, 1.0f}, {2.0f, 1.0f, -0.5f},     {2.0f, 1.0f, NAN},
  };
  for (const auto& [maxStep, minStep, given] : inputs) {
    float reduction = given;
    EXPECT_LT(fitStepSchedule(maxStep, minStep, reduction).numSteps, 0)
        << maxStep << " " << minStep;
    EXPECT_TRUE(reduction == given || std::isnan(given)) << given;
  }
}

}  // namespace
