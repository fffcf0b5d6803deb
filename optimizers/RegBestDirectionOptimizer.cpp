#include "optimizers/RegBestDirectionOptimizer.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "functional/RegFunctional.h"
#include "metrics/RegMetric.h"
#include "optimizers/searchProgress.h"
#include "optimizers/stepSchedule.h"
#include "optimizers/vectorArithmetic.h"
#include "transforms/RegParametricTransform.h"

using voxreg::detail::addMultiple;

namespace {

constexpr double moveReduction = 0.6667;  // empirical

/// From 8 on the coarsest level to 2 on the finest (empirical).
int lineMovesOfLevel(int levelNumber, int numLevels) {
  const auto levelsBefore = static_cast<float>(static_cast<std::int64_t>(levelNumber) - 1);
  const auto levelsAfterFirst = static_cast<float>(std::max(numLevels, 2) - 1);
  const float moves = 8.0f - 6.0f * levelsBefore / levelsAfterFirst;
  return static_cast<int>(std::clamp(moves, -1.0e9f, 1.0e9f));
}

/// Decrease of the factor from pass to pass: 0 on the coarsest level, 0.1 on the finest
/// (empirical). Not finite for a single level.
float reductionDropOfLevel(int levelNumber, int numLevels) {
  if (numLevels <= 0) return 0.1f;
  const float level = static_cast<float>(static_cast<std::int64_t>(levelNumber) - 1) /
                      static_cast<float>(numLevels - 1);
  return static_cast<float>(0.1 * static_cast<double>(level));
}

}  // namespace

/// The state of one `optimize`.
class RegBestDirectionOptimizer::Run {
 public:
  explicit Run(RegBestDirectionOptimizer& search)
      : search_(search), progress_(search), params_(search.transform->params) {}

  double search(float maxStep, float minStep);

 private:
  void planSteps(float maxStep, float minStep);
  int countPasses(float maxStep, float minStep) const;
  void lowerReduction(float& reduction) const;
  bool followGradient();
  bool walk();
  void refine();

  double evaluate() { return search_.functional->evaluate(); }

  RegBestDirectionOptimizer& search_;
  voxreg::detail::SearchProgress progress_;
  NmDVector<double>& params_;
  NmDVector<double> steps_;
  NmDVector<double> move_;  ///< the gradient, then the move along it
  float step_ = 0.0f;
  float reduction_ = 0.0f;
  float reductionDrop_ = 0.1f;
  int passes_ = 0;
  int moves_ = 0;  ///< in the current pass
  double value_ = 0.0;
};

RegBestDirectionOptimizer::RegBestDirectionOptimizer(RegOptimizerCallback* callbackToAsk,
                                                     float reduction,
                                                     float relativeToleranceToStart, bool fit)
    : RegOptimizer(callbackToAsk),
      stepReduction(reduction),
      relativeTolerance(relativeToleranceToStart),
      fitStepReduction(fit) {}

float RegBestDirectionOptimizer::maxNorm(const NmDVector<double>& v) {
  float largest = 0.0f;
  for (std::int64_t i = 0; i < v.size; ++i)
    largest = std::max(largest, static_cast<float>(std::abs(v[i])));
  return largest;
}

double RegBestDirectionOptimizer::optimize(float maxStep, float minStep) {
  if (!canSearch("RegBestDirectionOptimizer::optimize")) return RegMetric::noStatement;
  return Run(*this).search(maxStep, minStep);
}

double RegBestDirectionOptimizer::Run::search(float maxStep, float minStep) {
  search_.getParamSteps(steps_);
  move_.resize(steps_.size);
  std::fill_n(move_.data, move_.size, 0.0);
  search_.maxLineMoves = lineMovesOfLevel(search_.levelNumber, search_.numLevels);
  planSteps(maxStep, minStep);
  bool isLast = false;
  for (int pass = 0; pass < passes_ && !isLast; ++pass, step_ *= reduction_) {
    if (!search_.fitStepReduction) {
      isLast = 3.0f * minStep > step_;
      if (isLast) step_ = minStep;
      if (pass > 0 || isLast) lowerReduction(reduction_);
    }
    progress_.reportPart(isLast ? 1.0f : static_cast<float>(pass) / static_cast<float>(passes_));
    if (progress_.askInterrupted()) return value_;
    moves_ = 0;
    while (followGradient()) {
    }
    if (progress_.isInterrupted() || value_ == unevaluated) return value_;
  }
  search_.relativeTolerance *= 10.0f;
  return value_;
}

void RegBestDirectionOptimizer::Run::planSteps(float maxStep, float minStep) {
  if (search_.fitStepReduction) {
    const auto schedule = voxreg::detail::fitStepSchedule(maxStep, minStep, search_.stepReduction);
    passes_ = schedule.numSteps + 1;
    step_ = schedule.firstStep;
  } else {
    reductionDrop_ = reductionDropOfLevel(search_.levelNumber, search_.numLevels);
    passes_ = countPasses(maxStep, minStep);
    step_ = maxStep;
  }
  reduction_ = search_.stepReduction;
}

// A step that no longer falls is not worth a pass.
int RegBestDirectionOptimizer::Run::countPasses(float maxStep, float minStep) const {
  constexpr int mostPasses = 1000000000;
  float reduction = search_.stepReduction;
  int passes = 1;
  for (float step = maxStep; step >= minStep && passes < mostPasses; ++passes) {
    const float next = step * reduction;
    if (!(next < step)) break;
    step = next;
    lowerReduction(reduction);
  }
  return passes;
}

void RegBestDirectionOptimizer::Run::lowerReduction(float& reduction) const {
  if (reductionDrop_ < reduction) reduction -= reductionDrop_;
}

// True if the next gradient is worth taking.
bool RegBestDirectionOptimizer::Run::followGradient() {
  value_ = search_.functional->evaluateGradient(move_, step_, 0, nullptr);
  if (value_ == unevaluated || progress_.askInterrupted()) return false;
  const float largest = maxNorm(move_);
  if (!(largest > 0.0f)) return false;
  const auto scale = static_cast<double>(step_ / largest);
  for (std::int64_t i = 0; i < move_.size; ++i) move_[i] = steps_[i] * scale * move_[i];
  voxreg::detail::dropNonFinite(move_);
  const bool moved = walk();
  refine();
  return moved && !progress_.isInterrupted();
}

// True if it made more than the single move that is always tried.
bool RegBestDirectionOptimizer::Run::walk() {
  const auto tolerance = static_cast<double>(search_.relativeTolerance);
  bool moved = false;
  addMultiple(params_, 1.0, move_);
  double next = evaluate();
  while (next > value_) {
    if (moves_ > search_.maxLineMoves || progress_.askInterruptedMeanwhile()) break;
    const double least = (std::abs(value_) + std::abs(next) + 0.001) * tolerance;
    if (!(2.0 * std::abs(next - value_) > least)) break;
    addMultiple(params_, 1.0, move_);
    value_ = next;
    next = evaluate();
    ++moves_;
    moved = true;
  }
  addMultiple(params_, -1.0, move_);
  voxreg::detail::scale(move_, moveReduction);
  return moved;
}

void RegBestDirectionOptimizer::Run::refine() {
  for (int k = 0; k < passes_; ++k) {
    if (progress_.askInterrupted()) return;
    addMultiple(params_, 1.0, move_);
    const double plus = evaluate();
    addMultiple(params_, -2.0, move_);
    const double minus = evaluate();
    if (plus > value_ && !(minus >= plus)) {
      addMultiple(params_, 2.0, move_);
      value_ = plus;
    } else if (minus > value_) {
      value_ = minus;
    } else {
      addMultiple(params_, 1.0, move_);
      voxreg::detail::scale(move_, moveReduction);
    }
  }
}
