#pragma once

#include "optimizers/RegOptimizer.h"

/// Search by values alone. A sweep tries one step up and down on every parameter around the same
/// point and moves to the best of these neighbours. If none is better, the step shrinks. It does
/// not query the progress object and cannot be stopped.
///
/// Every trial restores its parameter rounded to single precision, so the parameters after
/// `optimize` differ by that rounding from those of the returned value.
class RegBestNeighbourOptimizer : public RegOptimizer {
 public:
  /// Factor between the steps of two passes. Each run fits it to its own steps, starting from the
  /// factor of the previous run.
  float stepReduction;
  int planeMode;  ///< an orientation: skips the affine parameters that would leave the plane

  RegBestNeighbourOptimizer(RegOptimizerCallback* callbackToAsk, float reduction, int mode);

  double optimize(float maxStep, float minStep) override;

 private:
  bool sweep(const NmDVector<double>& steps, double length, double& best,
             NmDVector<double>& bestParams);
  bool tryPoint(double& best, NmDVector<double>& bestParams);
};
