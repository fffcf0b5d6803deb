#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>

#include "foundation/NmLogFile.h"
#include "foundation/NmWatch.h"
#include "functional/RegFunctional.h"
#include "optimizers/NmTensorProductMatrix.h"
#include "optimizers/RegGradientOptimizer.h"
#include "optimizers/lineFreezing.h"
#include "optimizers/lineLengths.h"
#include "optimizers/lineSearch.h"
#include "optimizers/relativeCoverage.h"
#include "optimizers/searchProgress.h"
#include "optimizers/vectorArithmetic.h"
#include "transforms/RegNonAffineTransform.h"

using voxreg::detail::dot;
using voxreg::detail::setNegative;

namespace {

constexpr int numRestarts = 10;
constexpr double toleranceGrowth = 1.359356390878526;  ///< 10^(2/15), per late iteration: 10 in 7.5

}  // namespace

/// The state of one run of the method.
class RegGradientOptimizer::QuasiNewton {
 public:
  QuasiNewton(RegGradientOptimizer& search, float maxStep, float minStep, float relativeTolerance);

  void run(double* value, int* iterations);

 private:
  enum class Next { iteration, restart, end };

  void runRestarts(int* iterations);
  bool beginRestart();
  Next iterate(int* iterations);
  void searchLine(int its);
  Next judge(int its);
  void logConvergence() const;
  bool update(int its);
  void addRankOneTerms();
  void turnDirection();
  void lowerTarget(int its);
  int takeGradient(double& negatedMetric);
  void logStart();
  void logStep();

  RegGradientOptimizer& search_;
  RegFunctional& functional_;
  voxreg::detail::SearchProgress progress_;
  NmWatch wholeRun_{true};
  NmWatch iteration_{true};
  float gradientSeconds_ = 0.0f;
  int dim_;
  voxreg::detail::LineSearch lines_;
  bool isBigGrid_ = false;
  std::optional<voxreg::detail::LineFreezing> freezing_;  ///< only on a grid of bricks
  voxreg::detail::LineLengths lengths_;
  float gradientFactor_;
  double tolerance_;
  NmTensorProductMatrix<double> inverseHessian_;
  voxreg::detail::SearchLine line_;  ///< its value is that of the run, negated
  NmDVector<double> g_;              ///< downhill gradient of the metric
  NmDVector<double> dg_;             ///< change of the gradient
  NmDVector<double> hdg_;            ///< the operator times dg_
  double before_ = 0.0;              ///< value at the start of the last line
  double length_ = 0.0;              ///< first step of the next line
  int numPenalised_ = 0;
  int restart_ = 0;
  int totalIterations_ = 0;
  /// Percentage of progress that triggers each restart (empirical: 10 restarts at most, later ones
  /// closer to convergence).
  float restartTargets_[numRestarts] = {75, 80, 85, 90, 95, 97, 99, 100, 100, 100};
};

void RegGradientOptimizer::quasiNewton(float maxStep, float minStep, float relativeTolerance,
                                       double* value, int* iterations) {
  if (!canSearch("RegGradientOptimizer::quasiNewton")) return;
  QuasiNewton(*this, maxStep, minStep, relativeTolerance).run(value, iterations);
}

RegGradientOptimizer::QuasiNewton::QuasiNewton(RegGradientOptimizer& search, float maxStep,
                                               float minStep, float relativeTolerance)
    : search_(search),
      functional_(*search.functional),
      progress_(search),
      dim_(search.numFreeParameters()),
      lines_(search, progress_, dim_),
      lengths_(static_cast<double>(maxStep)),
      gradientFactor_(std::min(maxStep, minStep)),
      tolerance_(static_cast<double>(relativeTolerance)),
      inverseHessian_(dim_) {
  if (const auto* const grid = dynamic_cast<RegNonAffineTransform*>(search.transform)) {
    isBigGrid_ = grid->numBricks.x > 12;
    freezing_.emplace(lines_, *grid);
  }
  // Memory for a typical restart, since growth would copy all vectors.
  inverseHessian_.vectors.remax(3 * 100, 0);
  inverseHessian_.weights.remax(3 * 100, 0);
}

void RegGradientOptimizer::QuasiNewton::run(double* value, int* iterations) {
  progress_.reportPart(0.0f);
  line_.value = *value;
  runRestarts(iterations);
  *value = line_.value;
}

void RegGradientOptimizer::QuasiNewton::runRestarts(int* iterations) {
  for (restart_ = 0; restart_ < numRestarts; ++restart_) {
    if (!beginRestart() || iterate(iterations) == Next::end) return;
    if (restart_ == numRestarts - 1 && *iterations == std::int64_t{2} * dim_)
      getTheLogInstance().printf("Warning: %d restarts in quasi-Newton optimization.\n",
                                 numRestarts);
    if (totalIterations_ > 99) return;
  }
}

// False if there is no direction.
bool RegGradientOptimizer::QuasiNewton::beginRestart() {
  length_ = lengths_.newest();
  double value;
  if (takeGradient(value) == 0) return false;
  before_ = value;
  line_.value = value;
  if (restart_ == 0) logStart();
  inverseHessian_.vectors.clear();
  inverseHessian_.weights.clear();
  inverseHessian_.diagonal = 1.0;
  setNegative(line_.direction, g_);
  return true;
}

RegGradientOptimizer::QuasiNewton::Next RegGradientOptimizer::QuasiNewton::iterate(
    int* iterations) {
  for (int its = 1; its <= std::int64_t{2} * dim_; ++its) {
    *iterations = its;
    searchLine(its);
    if (progress_.askInterrupted()) return Next::end;
    logStep();
    const Next next = judge(its);
    if (next != Next::iteration) return next;
    if (!update(its)) return Next::end;
    ++totalIterations_;
  }
  return Next::restart;
}

void RegGradientOptimizer::QuasiNewton::searchLine(int its) {
  line_.length = length_;
  line_.point = search_.transform->params;
  const bool canFreeze = freezing_.has_value() && dim_ > 12 && its > 3;
  if (canFreeze) freezing_->begin(line_);
  line_.search(lines_);
  if (canFreeze) freezing_->improve(line_, g_, numPenalised_);
}

// On a large grid the tolerance grows in late iterations, so that the search does not spend long on
// small gains. The limits of 12 bricks and 20 iterations are empirical.
RegGradientOptimizer::QuasiNewton::Next RegGradientOptimizer::QuasiNewton::judge(int its) {
  if (isBigGrid_ && totalIterations_ > 20) tolerance_ *= toleranceGrowth;
  const double scale = (std::abs(line_.value) + std::abs(before_) + 0.001) * tolerance_;
  const double distance = 2.0 * std::abs(line_.value - before_);
  const float part = voxreg::detail::partToConvergence(scale, distance);
  progress_.reportPart(part);
  if (!(distance > scale)) {
    logConvergence();
    if (dim_ > 12) functional_.evaluate();
    return Next::end;
  }
  const bool isEarly = restart_ == 0 && its < 5;
  if (dim_ > 12 && part * 100.0f >= restartTargets_[restart_] && !isEarly) {
    functional_.evaluate();
    return Next::restart;
  }
  return Next::iteration;
}

void RegGradientOptimizer::QuasiNewton::logConvergence() const {
  getTheLogInstance().printf("quasiNewton: %d its, %.2f of %.2f sec. for gradient calculation",
                             totalIterations_ + 1 + restart_, static_cast<double>(gradientSeconds_),
                             static_cast<double>(wholeRun_.getTime()));
  if (dim_ > 12)
    getTheLogInstance().printf("  %.3f sec. for computation and decomposition of Jacobians",
                               functional_.gradientTime);
}

// False if the search is over.
bool RegGradientOptimizer::QuasiNewton::update(int its) {
  const double reached = line_.value;
  const double lineLength = line_.length;
  setNegative(dg_, g_);
  if (takeGradient(line_.value) == 0) return false;
  lengths_.add(lineLength);
  length_ = lengths_.mean(std::min(its, 3));
  if (progress_.askInterrupted()) return false;
  addRankOneTerms();
  turnDirection();
  before_ = reached;
  lowerTarget(its);
  return true;
}

// The inverse BFGS update for the last move. Neither product is tested for zero: a single free
// parameter makes the first zero.
void RegGradientOptimizer::QuasiNewton::addRankOneTerms() {
  const NmDVector<double>& move = line_.direction;
  voxreg::detail::addMultiple(dg_, 1.0, g_);
  inverseHessian_.multVec(dg_, hdg_);
  const double fac = dot(dg_, move);
  const double fae = dot(dg_, hdg_);
  const double a = 1.0 / fac;
  const double b = -1.0 / fae;
  for (std::int64_t i = 0; i < dg_.size; ++i) dg_[i] = b * hdg_[i] + a * move[i];
  inverseHessian_.addEntry(move, a);
  inverseHessian_.addEntry(hdg_, b);
  inverseHessian_.addEntry(dg_, fae);
}

// Falls back on the gradient if the operator gives no descent direction, or NaN.
void RegGradientOptimizer::QuasiNewton::turnDirection() {
  NmDVector<double>& direction = line_.direction;
  inverseHessian_.multVec(g_, direction);
  voxreg::detail::scale(direction, -1.0);
  voxreg::detail::normalise(direction);
  if (!(dot(direction, g_) < 0.0)) setNegative(direction, g_);
}

// Lowers the target of a restart that takes many iterations (empirical: after 7 in the first, 3 in
// others).
void RegGradientOptimizer::QuasiNewton::lowerTarget(int its) {
  if (its > (restart_ == 0 ? 7 : 3)) restartTargets_[restart_] -= 1.0f;
}

// The gradient of the negated metric.
int RegGradientOptimizer::QuasiNewton::takeGradient(double& negatedMetric) {
  double metric;
  const int usable =
      search_.getDirection(gradientFactor_, g_, metric, numPenalised_, &gradientSeconds_);
  voxreg::detail::scale(g_, -1.0);
  negatedMetric = -metric;
  return usable;
}

void RegGradientOptimizer::QuasiNewton::logStart() {
  const auto seconds = static_cast<double>(iteration_.getTime());
  if (search_.restrictedMotion)
    getTheLogInstance().printf("Metric %.5f,             rel.covrg %.3f, %.3f sec.\n", -line_.value,
                               voxreg::detail::relativeCoverage(functional_), seconds);
  else
    getTheLogInstance().printf("Metric result %.5f,                      %.3f sec.\n", -line_.value,
                               seconds);
  iteration_.start();
}

void RegGradientOptimizer::QuasiNewton::logStep() {
  const auto seconds = static_cast<double>(iteration_.getTime());
  if (search_.restrictedMotion)
    getTheLogInstance().printf("Metric %.5f, step %.3f, rel.covrg %.3f, %.3f sec.\n", -line_.value,
                               line_.length, voxreg::detail::relativeCoverage(functional_),
                               seconds);
  else
    getTheLogInstance().printf("Metric result %.5f, step size %.3f, %.3f sec.\n", -line_.value,
                               line_.length, seconds);
  iteration_.start();
}
