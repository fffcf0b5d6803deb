#pragma once

#include "optimizers/RegOptimizer.h"

/// Search along the gradient: it moves in the gradient's direction as long as that pays off,
/// refines the end of the walk on both sides with ever shorter moves, and takes the next gradient.
/// A gradient without a gain ends the pass, and the step shrinks.
///
/// The result is the value at the final parameters. It is 0.0 if the run is interrupted before the
/// first gradient or `minStep` leaves no pass in a fitted schedule, and the result of
/// evaluateGradient if that is the most negative float.
class RegBestDirectionOptimizer : public RegOptimizer {
 public:
  /// Factor between the steps of two passes; the first one if it falls. A fitted factor is kept and
  /// the next run starts its fit from it.
  float stepReduction;
  float relativeTolerance;  ///< smallest relative gain of a move; tenfold after each complete run
  int maxLineMoves = 0;     ///< limit on the moves of a pass, from the resolution level
  bool fitStepReduction;    ///< fit a constant factor to the steps; otherwise it falls from pass to
                            ///< pass

  RegBestDirectionOptimizer(RegOptimizerCallback* callbackToAsk, float reduction,
                            float relativeToleranceToStart, bool fit);

  double optimize(float maxStep, float minStep) override;

  /// The largest absolute value, each rounded to float; 0 for an empty vector.
  static float maxNorm(const NmDVector<double>& v);

 private:
  class Run;
};
