#include "optimizers/RegAggressiveDirectionOptimizer.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "foundation/NmLogFile.h"
#include "functional/RegFunctional.h"
#include "functional/planeMode.h"
#include "metrics/RegMetric.h"
#include "optimizers/relativeCoverage.h"
#include "optimizers/searchProgress.h"
#include "optimizers/stepSchedule.h"
#include "optimizers/vectorArithmetic.h"
#include "transforms/RegParametricTransform.h"

using voxreg::detail::addMultiple;

namespace {

constexpr double suppressionFactors[] = {1.0, 1.0, 0.0, 0.0, 0.0, 0.2};

}  // namespace

/// The state of one `optimize`.
class RegAggressiveDirectionOptimizer::Run {
 public:
  explicit Run(RegAggressiveDirectionOptimizer& search)
      : search_(search), progress_(search), params_(search.transform->params) {}

  double search(float maxStep, float minStep);

 private:
  void takeSteps();
  void sweep();
  void measureDifferences();
  void measureDifference(int i);
  void keepIfBest(double value);
  void walkAlongDifferences();
  bool selectDirection(double threshold, bool isFirst);
  bool raiseThreshold(double& threshold) const;
  void walk();
  void refine();
  void logPass() const;

  double evaluate() { return search_.functional->evaluate(); }

  RegAggressiveDirectionOptimizer& search_;
  voxreg::detail::SearchProgress progress_;
  NmDVector<double>& params_;
  NmDVector<double>
      bestParams_;  ///< go with best_, but may differ after a plus trial (see keepIfBest)
  NmDVector<double> steps_;
  NmDVector<double> diffs_;  ///< plus trial minus minus trial, 0 if neither gains
  NmDVector<double> direction_;
  double best_ = 0.0;   ///< of the first evaluation and all sweeps
  double value_ = 0.0;  ///< at the current point of the search
  double trial_ = 0.0;  ///< step length of the current pass
  double maxDiff_ = 0.0;
  int numSteps_ = 0;
  int pass_ = 0;
  int percent_ = 1;
  bool improved_ = false;
};

RegAggressiveDirectionOptimizer::RegAggressiveDirectionOptimizer(
    RegOptimizerCallback* callbackToAsk, float reduction, float increment, int mode,
    bool restricted)
    : RegOptimizer(callbackToAsk),
      stepReduction(reduction),
      thresholdIncrement(increment),
      planeMode(mode),
      restrictedMotion(restricted) {}

double RegAggressiveDirectionOptimizer::optimize(float maxStep, float minStep) {
  if (!canSearch("RegAggressiveDirectionOptimizer::optimize")) return RegMetric::noStatement;
  return Run(*this).search(maxStep, minStep);
}

double RegAggressiveDirectionOptimizer::Run::search(float maxStep, float minStep) {
  best_ = evaluate();
  getTheLogInstance().printf(" initial Metric value: %.5f", best_);
  bestParams_ = params_;
  const auto schedule = voxreg::detail::fitStepSchedule(maxStep, minStep, search_.stepReduction);
  numSteps_ = schedule.numSteps;
  takeSteps();
  const int percentPerPass = 99 / std::max(numSteps_ + 1, 1);
  progress_.reportPercent(percent_);
  if (progress_.askInterrupted() || numSteps_ < 0) return best_;
  float step = schedule.firstStep;
  value_ = best_;
  for (pass_ = 0; pass_ <= numSteps_; ++pass_) {
    trial_ = static_cast<double>(step);
    do {
      sweep();
      if (progress_.isInterrupted()) return value_;
    } while (improved_);
    logPass();
    step *= search_.stepReduction;
    percent_ += percentPerPass;
  }
  return value_;
}

void RegAggressiveDirectionOptimizer::Run::takeSteps() {
  search_.getParamSteps(steps_);
  const std::int64_t dim = steps_.size;
  if (dim <= 12 && search_.restrictedMotion)
    for (std::int64_t i = 0; i < std::min(dim, std::int64_t{6}); ++i)
      steps_[i] *= suppressionFactors[i];
  diffs_.resize(dim);
  direction_.resize(dim);
  std::fill_n(direction_.data, dim, 0.0);
}

void RegAggressiveDirectionOptimizer::Run::sweep() {
  improved_ = false;
  measureDifferences();
  if (!progress_.isInterrupted() && maxDiff_ > 0.0) walkAlongDifferences();
  if (progress_.isInterrupted()) return;
  if (best_ > value_) {
    params_ = bestParams_;
    improved_ = true;
    value_ = best_;
  }
  progress_.reportPercent(percent_);
  progress_.askInterrupted();
}

void RegAggressiveDirectionOptimizer::Run::measureDifferences() {
  maxDiff_ = 0.0;
  for (int i = 0; i < static_cast<int>(steps_.size) && !progress_.isInterrupted(); ++i) {
    diffs_[i] = 0.0;
    if (!voxreg::detail::leavesPlane(search_.planeMode, i)) measureDifference(i);
  }
}

void RegAggressiveDirectionOptimizer::Run::measureDifference(int i) {
  const double saved = params_[i];
  if (progress_.askInterrupted()) return;
  params_[i] = saved + steps_[i] * trial_;
  const double plus = evaluate();
  if (progress_.askInterrupted()) return;
  // From here on the parameter has single precision.
  const float kept = static_cast<float>(saved);
  params_[i] = static_cast<double>(kept) - steps_[i] * trial_;
  const double minus = evaluate();
  if (plus != unevaluated && minus != unevaluated) {
    keepIfBest(plus);
    keepIfBest(minus);
    if (plus > value_ || minus > value_) {
      diffs_[i] = plus - minus;
      maxDiff_ = std::max(maxDiff_, std::abs(diffs_[i]));
    }
  }
  params_[i] = static_cast<double>(kept);
}

// Both trials are judged after both were made, so a plus trial's value is stored with the point of
// the minus trial.
void RegAggressiveDirectionOptimizer::Run::keepIfBest(double value) {
  if (!(value > best_)) return;
  bestParams_ = params_;
  best_ = value;
}

void RegAggressiveDirectionOptimizer::Run::walkAlongDifferences() {
  double threshold = 0.0;
  bool isFirst = true;
  do {
    if (selectDirection(threshold, isFirst)) walk();
    isFirst = false;
  } while (!progress_.isInterrupted() && raiseThreshold(threshold));
}

// True if there is a direction that differs from the previous one.
bool RegAggressiveDirectionOptimizer::Run::selectDirection(double threshold, bool isFirst) {
  bool changed = false;
  bool any = false;
  for (std::int64_t i = 0; i < direction_.size; ++i) {
    if (threshold > std::abs(diffs_[i])) {
      if (direction_[i] != 0.0) changed = true;
      direction_[i] = 0.0;
    } else {
      const double move = diffs_[i] * (steps_[i] * trial_ / maxDiff_);
      direction_[i] = std::isfinite(move) ? move : 0.0;
      if (direction_[i] != 0.0) any = true;
    }
  }
  return (changed || isFirst) && any;
}

// The threshold has single precision, in which it may stop rising.
bool RegAggressiveDirectionOptimizer::Run::raiseThreshold(double& threshold) const {
  if (!(search_.thresholdIncrement > 0.0f)) return false;
  const double before = threshold;
  const double raised = threshold + static_cast<double>(search_.thresholdIncrement) * maxDiff_;
  threshold = static_cast<double>(static_cast<float>(raised));
  return threshold > before && maxDiff_ >= threshold;
}

void RegAggressiveDirectionOptimizer::Run::walk() {
  addMultiple(params_, 1.0, direction_);
  double next = evaluate();
  while (next > value_) {
    value_ = next;
    if (progress_.askInterrupted()) return;
    addMultiple(params_, 1.0, direction_);
    next = evaluate();
    improved_ = true;
  }
  addMultiple(params_, -1.0, direction_);
  voxreg::detail::scale(direction_, static_cast<double>(search_.stepReduction));
  refine();
}

void RegAggressiveDirectionOptimizer::Run::refine() {
  for (int k = search_.refineAllPasses != 0 ? 0 : pass_; k <= numSteps_; ++k) {
    if (progress_.askInterruptedMeanwhile()) return;
    addMultiple(params_, 1.0, direction_);
    const double plus = evaluate();
    addMultiple(params_, -2.0, direction_);
    const double minus = evaluate();
    if (plus > value_) {
      addMultiple(params_, 2.0, direction_);
      value_ = plus;
      improved_ = true;
    } else if (minus > value_) {
      value_ = minus;
      improved_ = true;
    } else {
      addMultiple(params_, 1.0, direction_);
    }
    voxreg::detail::scale(direction_, static_cast<double>(search_.stepReduction));
  }
}

void RegAggressiveDirectionOptimizer::Run::logPass() const {
  if (search_.restrictedMotion)
    getTheLogInstance().printf("Metric %.5f, rel.covrg %.3f", value_,
                               voxreg::detail::relativeCoverage(*search_.functional));
  else
    getTheLogInstance().printf("Metric %.5f", value_);
}
