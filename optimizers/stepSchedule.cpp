#include "optimizers/stepSchedule.h"

#include <cmath>

#include "foundation/numbers/elementary.h"

namespace voxreg::detail {

StepSchedule fitStepSchedule(float maxStep, float minStep, float& stepReduction) {
  const float ratio = minStep / maxStep;
  const float reductions = logf(ratio) / logf(stepReduction);
  if (!std::isfinite(reductions)) return {-1, minStep};
  // The logarithms of two floats differ by a factor below 2^31, so the quotient fits into an int.
  const int numSteps = static_cast<int>(reductions);
  stepReduction =
      numSteps == 0 ? 0.5f : static_cast<float>(power(static_cast<double>(ratio), 1.0 / numSteps));
  const double factor = power(static_cast<double>(stepReduction), static_cast<double>(-numSteps));
  return {numSteps, static_cast<float>(factor * static_cast<double>(minStep))};
}

}  // namespace voxreg::detail
