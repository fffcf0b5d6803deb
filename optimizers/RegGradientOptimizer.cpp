#include "optimizers/RegGradientOptimizer.h"

#include <algorithm>

#include "foundation/NmWatch.h"
#include "functional/RegFunctional.h"
#include "optimizers/lineLengths.h"
#include "optimizers/searchProgress.h"
#include "optimizers/vectorArithmetic.h"
#include "transforms/RegParametricTransform.h"

namespace {

constexpr double squaredSuppressionFactors[] = {1.0, 1.0, 0.4, 0.3, 0.3, 1.0};

}  // namespace

RegGradientOptimizer::RegGradientOptimizer(RegOptimizerCallback* callbackToAsk,
                                           float relativeTolerance, bool restricted)
    : RegOptimizer(callbackToAsk), tolerance(relativeTolerance), restrictedMotion(restricted) {}

double RegGradientOptimizer::optimize(float maxStep, float minStep) {
  if (!canSearch("RegGradientOptimizer::optimize")) return -1000.0;
  double result = 0.0;
  int iterations = 0;
  if (method == 2) {
    const bool isLarge = transform->getVariableParamVectorDim() > 12;  // a grid of bricks
    quasiNewton(maxStep, minStep, isLarge ? tolerance * 0.1f : tolerance, &result, &iterations);
  } else if (method == 1) {
    conjugateGradients(maxStep, minStep, tolerance, &result, &iterations);
  } else if (method == 0) {
    result = steepestDescent(maxStep, minStep);
  }
  return -result;
}

int RegGradientOptimizer::getDirection(float factor, NmDVector<double>& direction, double& value,
                                       int& numPenalised, float* time) {
  numPenalised = 0;
  value = -1000.0;
  direction.clear();
  if (!canSearch("RegGradientOptimizer::getDirection")) return 0;
  const int dim = numFreeParameters();
  direction.resize(dim);
  std::fill_n(direction.data, dim, 0.0);
  const NmWatch watch(true);
  value = functional->evaluateGradient(direction, factor, 1, &numPenalised);
  if (time != nullptr) *time += watch.getTime();
  if (dim <= 12 && restrictedMotion)
    for (int i = 0; i < std::min(dim, 6); ++i) direction[i] *= squaredSuppressionFactors[i];
  const double largest = voxreg::detail::largestMagnitude(direction);
  if (!(largest > 0.0)) {
    std::fill_n(direction.data, dim, 0.0);
    return 0;
  }
  const NmVec3f size = functional->modelSize;
  NmVec3d sampling(size.x, size.y, size.z);
  for (int i = 0; i < dim; ++i)
    direction[i] = transform->getParamStep(i, &sampling) * (1.0 / largest) * direction[i];
  voxreg::detail::dropNonFinite(direction);
  return 1;
}

double RegGradientOptimizer::steepestDescent(float maxStep, float minStep) {
  if (!canSearch("RegGradientOptimizer::steepestDescent")) return 1000.0;
  const float gradientFactor = std::min(minStep, maxStep);
  voxreg::detail::LineLengths lengths(static_cast<double>(maxStep));
  const double stopLength = static_cast<double>(minStep) * 0.2;  // empirical
  NmDVector<double> point;
  NmDVector<double> direction;
  double value = 0.0;
  for (int its = 0; its < 100; ++its) {
    double metric;
    int numPenalised;
    const int usable = getDirection(gradientFactor, direction, metric, numPenalised, nullptr);
    value = -metric;
    if (usable == 0 || wasInterrupted()) return value;
    point = transform->params;
    double length = 0.33333 * lengths.sum(3);
    linmin(point, direction, 0.0, numFreeParameters(), &value, &length);
    if (wasInterrupted()) return value;
    if (stopLength > length) return value;
    lengths.add(length);
  }
  return value;
}

bool RegGradientOptimizer::wasInterrupted() const {
  return voxreg::detail::SearchProgress(*this).wasInterrupted();
}
