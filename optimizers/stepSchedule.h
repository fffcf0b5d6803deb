#pragma once

namespace voxreg::detail {

/// The step lengths of a search: firstStep, then numSteps more, each a constant factor times the
/// previous one, such that the last is the smallest step requested.
struct StepSchedule {
  int numSteps;  ///< negative: there is no step to take
  float firstStep;
};

/// Spreads the interval from `maxStep` down to `minStep` over as many whole reductions as fit, and
/// stores the factor that meets both ends in `stepReduction`, or 0.5 if no reduction fits. Lengths
/// or a factor for which the number of reductions is not finite give no step and leave the factor
/// unchanged.
StepSchedule fitStepSchedule(float maxStep, float minStep, float& stepReduction);

}  // namespace voxreg::detail
