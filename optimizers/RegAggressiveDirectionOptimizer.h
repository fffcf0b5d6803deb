#pragma once

#include "optimizers/RegOptimizer.h"

/// Search by values alone that moves all parameters at once. A sweep tries one step up and down on
/// every parameter; the differences of the values give a direction, along which the search walks as
/// long as it pays, and again along the parameters of ever larger differences only. A sweep that
/// gains nothing ends the pass, and the step shrinks.
///
/// The result is the value at which the parameters stand. An interruption leaves them where they
/// are, which may be a trial point, and gives the last value that was reached.
class RegAggressiveDirectionOptimizer : public RegOptimizer {
 public:
  /// Factor between the steps of two passes. Each run fits it to the steps that it is given and
  /// starts the fit from the factor that the run before has left.
  float stepReduction;
  /// Share of a sweep's largest difference by which the least difference that counts rises from
  /// walk to walk; not above 0: one walk.
  float thresholdIncrement;
  int refineAllPasses = 0;  ///< not 0: refine a walk from the first pass' step on
  int planeMode;  ///< an orientation: leaves out the affine parameters that would leave the plane
  bool restrictedMotion;  ///< smaller steps for the rotations, and the coverage in the log

  RegAggressiveDirectionOptimizer(RegOptimizerCallback* callbackToAsk, float reduction,
                                  float increment, int mode, bool restricted);

  double optimize(float maxStep, float minStep) override;

 private:
  class Run;
};
