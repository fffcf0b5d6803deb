#include "optimizers/RegBestNeighbourOptimizer.h"

#include "functional/RegFunctional.h"
#include "functional/planeMode.h"
#include "metrics/RegMetric.h"
#include "optimizers/stepSchedule.h"
#include "transforms/RegParametricTransform.h"

RegBestNeighbourOptimizer::RegBestNeighbourOptimizer(RegOptimizerCallback* callbackToAsk,
                                                     float reduction, int mode)
    : RegOptimizer(callbackToAsk), stepReduction(reduction), planeMode(mode) {}

double RegBestNeighbourOptimizer::optimize(float maxStep, float minStep) {
  if (!canSearch("RegBestNeighbourOptimizer::optimize")) return RegMetric::noStatement;
  double best = functional->evaluate();
  NmDVector<double> bestParams = transform->params;
  const auto schedule = voxreg::detail::fitStepSchedule(maxStep, minStep, stepReduction);
  NmDVector<double> steps;
  getParamSteps(steps);
  float step = schedule.firstStep;
  for (int pass = 0; pass <= schedule.numSteps; ++pass) {
    while (sweep(steps, static_cast<double>(step), best, bestParams)) {
      transform->params = bestParams;
      if (recomputeSteps) getParamSteps(steps);
    }
    step *= stepReduction;
  }
  return best;
}

// True if one of the neighbours is better than the best so far.
bool RegBestNeighbourOptimizer::sweep(const NmDVector<double>& steps, double length, double& best,
                                      NmDVector<double>& bestParams) {
  NmDVector<double>& params = transform->params;
  bool improved = false;
  for (int i = 0; i < static_cast<int>(steps.size); ++i) {
    if (voxreg::detail::leavesPlane(planeMode, i)) continue;
    const double saved = params[i];
    params[i] = saved + steps[i] * length;
    improved |= tryPoint(best, bestParams);
    // From here on the parameter has single precision.
    const float kept = static_cast<float>(saved);
    params[i] = static_cast<double>(kept) - steps[i] * length;
    improved |= tryPoint(best, bestParams);
    params[i] = static_cast<double>(kept);
  }
  return improved;
}

bool RegBestNeighbourOptimizer::tryPoint(double& best, NmDVector<double>& bestParams) {
  const double value = functional->evaluate();
  if (!(value > best)) return false;
  best = value;
  bestParams = transform->params;
  return true;
}
