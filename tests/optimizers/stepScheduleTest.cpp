#include "optimizers/stepSchedule.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

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
