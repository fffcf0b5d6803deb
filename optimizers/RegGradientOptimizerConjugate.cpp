#include <algorithm>
#include <cmath>
#include <cstdint>

#include "optimizers/RegGradientOptimizer.h"
#include "optimizers/lineLengths.h"
#include "optimizers/lineSearch.h"
#include "optimizers/searchProgress.h"
#include "optimizers/vectorArithmetic.h"
#include "transforms/RegParametricTransform.h"

/// The state of one run of the method.
class RegGradientOptimizer::ConjugateGradients {
 public:
  ConjugateGradients(RegGradientOptimizer& search, float maxStep, float minStep,
                     float relativeTolerance)
      : search_(search),
        progress_(search),
        dim_(search.numFreeParameters()),
        lines_(search, progress_, dim_),
        gradientFactor_(std::min(minStep, maxStep)),
        tolerance_(static_cast<double>(relativeTolerance)),
        lengths_(static_cast<double>(maxStep)) {}

  void run(double* value, int* iterations);

 private:
  bool beginRestart(double* value);
  bool searchLine(double* value);
  bool hasConverged(double value) const;
  bool takeGradient();
  bool updateDirection();

  RegGradientOptimizer& search_;
  voxreg::detail::SearchProgress progress_;
  int dim_;
  voxreg::detail::LineSearch lines_;
  float gradientFactor_;
  double tolerance_;
  voxreg::detail::LineLengths lengths_;
  NmDVector<double> point_;
  NmDVector<double> g_;   ///< uphill gradient of the previous step
  NmDVector<double> h_;   ///< direction before normalisation
  NmDVector<double> xi_;  ///< gradient, then direction, then move
  double before_ = 0.0;   ///< negated metric at the start of the line
  double length_ = 0.0;   ///< first step of the next line
};

void RegGradientOptimizer::conjugateGradients(float maxStep, float minStep, float relativeTolerance,
                                              double* value, int* iterations) {
  if (!canSearch("RegGradientOptimizer::conjugateGradients")) return;
  ConjugateGradients(*this, maxStep, minStep, relativeTolerance).run(value, iterations);
}

void RegGradientOptimizer::ConjugateGradients::run(double* value, int* iterations) {
  const int restarts = std::max(100 / std::max(dim_, 1), 1);
  progress_.reportPart(0.0f);
  for (int restart = 0; restart < restarts; ++restart) {
    if (!beginRestart(value)) return;
    for (int its = 1; its <= dim_; ++its) {
      *iterations = its;
      if (!searchLine(value) || !takeGradient()) return;
      length_ = lengths_.mean(std::min(its, 5));
      if (!updateDirection()) return;
    }
  }
}

bool RegGradientOptimizer::ConjugateGradients::beginRestart(double* value) {
  length_ = lengths_.newest();
  int numPenalised;
  if (search_.getDirection(gradientFactor_, xi_, before_, numPenalised, nullptr) == 0) return false;
  before_ = -before_;
  *value = before_;
  g_ = xi_;
  h_ = xi_;
  return true;
}

// False if this was the last line.
bool RegGradientOptimizer::ConjugateGradients::searchLine(double* value) {
  point_ = search_.transform->params;
  double lineLength = length_;
  lines_.minimise(point_, xi_, 0.0, *value, lineLength);
  const bool converged = hasConverged(*value);
  lengths_.add(lineLength);
  return !converged && !progress_.askInterrupted();
}

bool RegGradientOptimizer::ConjugateGradients::hasConverged(double value) const {
  const double scale = (std::abs(value) + std::abs(before_) + 0.001) * tolerance_;
  const double distance = 2.0 * std::abs(value - before_);
  progress_.reportPart(voxreg::detail::partToConvergence(scale, distance));
  return !(distance > scale);
}

// The gradient of the negated metric; false if it is zero.
bool RegGradientOptimizer::ConjugateGradients::takeGradient() {
  int numPenalised;
  if (search_.getDirection(gradientFactor_, xi_, before_, numPenalised, nullptr) == 0) return false;
  voxreg::detail::scale(xi_, -1.0);
  before_ = -before_;
  return true;
}

// Adds the previous direction to the gradient with Polak and Ribiere's factor.
bool RegGradientOptimizer::ConjugateGradients::updateDirection() {
  double gg = 0.0;
  double dgg = 0.0;
  for (std::int64_t j = 0; j < xi_.size; ++j) {
    gg += g_[j] * g_[j];
    dgg += (g_[j] + xi_[j]) * xi_[j];
  }
  if (gg == 0.0) return false;
  const double gamma = dgg / gg;
  for (std::int64_t j = 0; j < xi_.size; ++j) {
    g_[j] = -xi_[j];
    h_[j] = h_[j] * gamma - xi_[j];
    xi_[j] = h_[j];
  }
  voxreg::detail::normalise(xi_);
  return true;
}
