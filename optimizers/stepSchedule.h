#pragma once

namespace voxreg::detail {

/// The step lengths of a search: firstStep, then numSteps more, each a constant factor times the
/// one before, so that the last is the smallest step asked for.
struct StepSchedule {
  int numSteps;  ///< negative: there is no step to take
  float firstStep;
};

/// Spreads the interval from `maxStep` down to `minStep` over as many whole reductions as fit and
/// leaves the factor that meets both ends in `stepReduction`, or 0.5 where no reduction fits.
/// Lengths or a factor between which there is no finite number of reductions give no step and leave
/// the factor as it was.
StepSchedule fitStepSchedule(float maxStep, float minStep, float& stepReduction);

}  // namespace voxreg::detail
