#pragma once

#include "optimizers/RegOptimizer.h"

/// Search by values alone. A sweep tries one step up and down on every parameter around the same
/// point and moves to the single best of these neighbours; when none is better, the step shrinks.
/// It does not look at the progress object and can't be stopped.
///
/// Every trial puts its parameter back rounded to single precision, so that the parameters after
/// `optimize` differ by that rounding from those of the value it returns.
class RegBestNeighbourOptimizer : public RegOptimizer {
 public:
  /// Factor between the steps of two passes. Each run fits it to the steps that it is given and
  /// starts the fit from the factor that the run before has left.
  float stepReduction;
  int planeMode;  ///< an orientation: leaves out the affine parameters that would leave the plane

  RegBestNeighbourOptimizer(RegOptimizerCallback* callbackToAsk, float reduction, int mode);

  double optimize(float maxStep, float minStep) override;

 private:
  bool sweep(const NmDVector<double>& steps, double length, double& best,
             NmDVector<double>& bestParams);
  bool tryPoint(double& best, NmDVector<double>& bestParams);
};
