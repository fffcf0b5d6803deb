#include "optimizers/RegGradientOptimizer.h"

#include <algorithm>

#include "foundation/NmWatch.h"
#include "functional/RegFunctional.h"
#include "metrics/RegMetric.h"
#include "optimizers/lineLengths.h"
#include "optimizers/lineSearch.h"
#include "optimizers/searchProgress.h"
#include "optimizers/vectorArithmetic.h"
#include "transforms/RegParametricTransform.h"

using voxreg::detail::Bracket;
using voxreg::detail::LineLengths;
using voxreg::detail::LineSearch;
using voxreg::detail::SearchLine;
using voxreg::detail::SearchProgress;

namespace {

constexpr double squaredSuppressionFactors[] = {1.0, 1.0, 0.4, 0.3, 0.3, 1.0};

}  // namespace

RegGradientOptimizer::RegGradientOptimizer(RegOptimizerCallback* callbackToAsk,
                                           float relativeTolerance, bool restricted)
    : RegOptimizer(callbackToAsk), tolerance(relativeTolerance), restrictedMotion(restricted) {}

double RegGradientOptimizer::optimize(float maxStep, float minStep) {
  if (!canSearch("RegGradientOptimizer::optimize")) return RegMetric::noStatement;
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
  value = RegMetric::noStatement;
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

double RegGradientOptimizer::f1dim(int n, const NmDVector<double>& point,
                                   const NmDVector<double>& direction, double x, int) {
  if (!canSearch("RegGradientOptimizer::f1dim")) return -RegMetric::noStatement;
  SearchProgress progress(*this);
  return LineSearch(*this, progress, n).valueAt(point, direction, x);
}

void RegGradientOptimizer::mnbrak(int n, const NmDVector<double>& point,
                                  const NmDVector<double>& direction, double* ax, double* bx,
                                  double* cx, double* fa, double* fb, double* fc, int) {
  if (!canSearch("RegGradientOptimizer::mnbrak")) return;
  SearchProgress progress(*this);
  Bracket found = {*ax, *bx, *cx, *fa, *fb, *fc};
  LineSearch(*this, progress, n).bracket(point, direction, found);
  *ax = found.a;
  *bx = found.b;
  *cx = found.c;
  *fa = found.fa;
  *fb = found.fb;
  *fc = found.fc;
}

double RegGradientOptimizer::brent(int n, const NmDVector<double>& point,
                                   const NmDVector<double>& direction, double ax, double bx,
                                   double cx, double relativeTolerance, double* xmin, int) {
  if (!canSearch("RegGradientOptimizer::brent")) return -RegMetric::noStatement;
  SearchProgress progress(*this);
  return LineSearch(*this, progress, n)
      .refine(point, direction, ax, bx, cx, relativeTolerance, *xmin);
}

void RegGradientOptimizer::linmin(NmDVector<double>& point, NmDVector<double>& direction,
                                  double maxMove, int n, double* value, double* length) {
  if (!canSearch("RegGradientOptimizer::linmin")) return;
  SearchProgress progress(*this);
  LineSearch(*this, progress, n).minimise(point, direction, maxMove, *value, *length);
}

double RegGradientOptimizer::steepestDescent(float maxStep, float minStep) {
  if (!canSearch("RegGradientOptimizer::steepestDescent")) return -RegMetric::noStatement;
  SearchProgress progress(*this);
  LineSearch lines(*this, progress, numFreeParameters());
  const float gradientFactor = std::min(minStep, maxStep);
  LineLengths lengths(static_cast<double>(maxStep));
  const double stopLength = static_cast<double>(minStep) * 0.2;  // empirical
  SearchLine line;
  for (int its = 0; its < 100; ++its) {
    double metric;
    int numPenalised;
    const int usable = getDirection(gradientFactor, line.direction, metric, numPenalised, nullptr);
    line.value = -metric;
    if (usable == 0 || progress.askInterrupted()) break;
    line.point = transform->params;
    line.length = 0.33333 * lengths.sum(3);
    line.search(lines);
    if (progress.askInterrupted() || stopLength > line.length) break;
    lengths.add(line.length);
  }
  return line.value;
}
