#include "optimizers/stepSchedule.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using voxreg::detail::fitStepSchedule;
using voxreg::detail::StepSchedule;

constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();

struct Fit {
  float maxStep, minStep, reduction;
  int numSteps;
  float fitted, firstStep;
};

TEST(StepSchedule, MeetsBothEndsInWholeReductions) {
  const Fit fits[] = {
      {1.0f, 1.0f, 0.5f, 0, 0.5f, 1.0f},
      {1.0f, 1.0f, 0.9f, 0, 0.5f, 1.0f},  // no reduction resets the factor
      {3.0f, 2.0f, 0.5f, 0, 0.5f, 2.0f},  // one step only, and it is the smallest
      {8.0f, 1.0f, 0.5f, 3, 0.5f, 8.0f},
      {1.0f, 0.3f, 0.5f, 1, 0.3f, 1.0f},  // truncated, so that the factor never grows
      {1.0f, 4.0f, 2.0f, 2, 2.0f, 1.0f},
      {1.0f, 2.0f, 0.5f, -1, 0.5f, 1.0f},  // nothing to search
  };
  for (const Fit& fit : fits) {
    float reduction = fit.reduction;
    const StepSchedule schedule = fitStepSchedule(fit.maxStep, fit.minStep, reduction);
    EXPECT_EQ(schedule.numSteps, fit.numSteps) << fit.maxStep << " to " << fit.minStep;
    EXPECT_FLOAT_EQ(reduction, fit.fitted) << fit.maxStep << " to " << fit.minStep;
    if (fit.numSteps < 0) continue;
    EXPECT_FLOAT_EQ(schedule.firstStep, fit.firstStep);
  }
}

// The quotient of logarithms is formed in float: in double it would be 4.9999998, five in float.
TEST(StepSchedule, CountsReductionsInSinglePrecision) {
  float maxStep = 0.0f, reduction = 0.0f;
  for (float candidate = 0.5f; candidate < 0.9f; candidate += 0.001f) {
    const float power = candidate * candidate * candidate * candidate * candidate;
    const double exact =
        std::log(static_cast<double>(power)) / std::log(static_cast<double>(candidate));
    if (exact < 5.0 && logf(power) / logf(candidate) == 5.0f) {
      maxStep = power;
      reduction = candidate;
    }
  }
  ASSERT_GT(reduction, 0.0f);
  EXPECT_EQ(fitStepSchedule(1.0f, maxStep, reduction).numSteps, 5);
}

TEST(StepSchedule, WithoutAFiniteNumberOfReductionsThereIsNoStepAndTheFactorStays) {
  const float inputs[][3] = {
      {0.0f, 1.0f, 0.5f},         {1.0f, 0.0f, 0.5f},       {0.0f, 0.0f, 0.5f},
      {-1.0f, 1.0f, 0.5f},        {1.0f, -1.0f, 0.5f},      {notANumber, 1.0f, 0.5f},
      {1.0f, notANumber, 0.5f},   {infinity, 1.0f, 0.5f},   {1.0f, infinity, 0.5f},
      {infinity, infinity, 0.5f}, {2.0f, 1.0f, 1.0f},       {1.0f, 1.0f, 1.0f},
      {2.0f, 1.0f, -0.5f},        {2.0f, 1.0f, notANumber},
  };
  for (const auto& [maxStep, minStep, given] : inputs) {
    float reduction = given;
    EXPECT_LT(fitStepSchedule(maxStep, minStep, reduction).numSteps, 0)
        << maxStep << " " << minStep;
    EXPECT_TRUE(reduction == given || std::isnan(given)) << given;
  }
}

TEST(StepSchedule, TheNextFitStartsFromTheFittedFactor) {
  float reduction = 0.5f;
  fitStepSchedule(1.0f, 0.3f, reduction);
  // ln 0.08 / ln 0.3 = 2.1; the factor that was there first would give 3.6.
  EXPECT_EQ(fitStepSchedule(1.0f, 0.08f, reduction).numSteps, 2);
  EXPECT_FLOAT_EQ(reduction, std::sqrt(0.08f));
}

}  // namespace
