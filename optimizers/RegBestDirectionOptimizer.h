#pragma once

#include "optimizers/RegOptimizer.h"

/// Search along the gradient: it moves in the gradient's direction as long as that pays, refines
/// the end of the walk to either side with ever shorter moves, and takes the next gradient. A
/// gradient that leads nowhere ends the pass, and the step shrinks.
///
/// The result is the value at which the parameters stand. 0.0 when it is interrupted before the
/// first gradient or `minStep` leaves a fitted schedule nothing to do; what evaluateGradient
/// returned when that is the most negative float.
class RegBestDirectionOptimizer : public RegOptimizer {
 public:
  /// Factor between the steps of two passes, the first one if it falls. A fitted one stays for the
  /// next run, which starts its fit from it.
  float stepReduction;
  float relativeTolerance;  ///< least relative gain of a move; tenfold after each complete run
  int maxLineMoves = 0;     ///< bound on the moves of a pass, by the resolution level
  bool fitStepReduction;    ///< fit one factor to the steps; otherwise it falls from pass to pass

  RegBestDirectionOptimizer(RegOptimizerCallback* callbackToAsk, float reduction,
                            float relativeToleranceToStart, bool fit);

  double optimize(float maxStep, float minStep) override;

  /// The largest absolute value, each rounded to float; 0 for an empty vector.
  static float maxNorm(const NmDVector<double>& v);

 private:
  class Run;
};
