#pragma once

#include "optimizers/RegOptimizer.h"

/// Search by values alone that moves all parameters at once. A sweep tries one step up and down on
/// every parameter. The differences of the values give a direction, along which the search walks as
/// long as that pays off, and then again along only the parameters with ever larger differences. A
/// sweep without a gain ends the pass, and the step shrinks.
///
/// The result is the value at the final parameters. An interruption leaves them where they are,
/// possibly at a trial point, and gives the last value that was accepted.
class RegAggressiveDirectionOptimizer : public RegOptimizer {
 public:
  /// Factor between the steps of two passes. Each run fits it to its own steps, starting from the
  /// factor of the previous run.
  float stepReduction;
  /// Share of a sweep's largest difference by which the smallest difference that counts rises from
  /// walk to walk; not above 0: one walk.
  float thresholdIncrement;
  int refineAllPasses = 0;  ///< not 0: start refinements with the first pass's step
  int planeMode;  ///< an orientation: skips the affine parameters that would leave the plane
  bool restrictedMotion;  ///< smaller steps for the rotations, and the coverage in the log

  RegAggressiveDirectionOptimizer(RegOptimizerCallback* callbackToAsk, float reduction,
                                  float increment, int mode, bool restricted);

  double optimize(float maxStep, float minStep) override;

 private:
  class Run;
};
