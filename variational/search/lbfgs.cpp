#include "variational/search/lbfgs.h"

#include <algorithm>
#include <cmath>
#include <deque>
#include <utility>

namespace voxreg::detail {
namespace {

using Vector = std::vector<double>;

double dot(const Vector& a, const Vector& b) {
  double sum = 0.0;
  for (std::size_t i = 0; i < a.size(); ++i) sum += a[i] * b[i];
  return sum;
}

void addMultiple(Vector& to, double factor, const Vector& v) {
  for (std::size_t i = 0; i < to.size(); ++i) to[i] += factor * v[i];
}

double largestOf(const Vector& v) {
  double largest = 0.0;
  for (const double x : v) largest = std::max(largest, std::abs(x));
  return largest;
}

/// A move and the change of the gradient that it made.
struct Pair {
  Vector move;
  Vector change;
  double inverseProduct;
};

/// direction = -(the approximate inverse Hessian) * gradient, by the two-loop recursion.
void findDirection(const std::deque<Pair>& pairs, const Vector& gradient, Vector& direction) {
  direction = gradient;
  Vector factors(pairs.size());
  for (std::size_t k = pairs.size(); k-- > 0;) {
    factors[k] = pairs[k].inverseProduct * dot(pairs[k].move, direction);
    addMultiple(direction, -factors[k], pairs[k].change);
  }
  const Pair& newest = pairs.back();
  const double scale = 1.0 / (newest.inverseProduct * dot(newest.change, newest.change));
  for (double& d : direction) d *= scale;
  for (std::size_t k = 0; k < pairs.size(); ++k) {
    const double back = pairs[k].inverseProduct * dot(pairs[k].change, direction);
    addMultiple(direction, factors[k] - back, pairs[k].move);
  }
  for (double& d : direction) d = -d;
}

/// A search at a point, with what it remembers of the way there.
class Descent {
 public:
  Descent(const Lbfgs::Options& options, const Lbfgs::Function& function, Vector& x)
      : options_(options),
        function_(function),
        x_(x),
        gradient_(x.size()),
        trialGradient_(x.size()) {
    value_ = evaluate(x_, gradient_);
  }

  double value() const { return value_; }
  int evaluations() const { return evaluations_; }
  bool hasMemory() const { return !pairs_.empty(); }
  void forget() { pairs_.clear(); }

  /// Chooses a direction in which the function falls. False if there is none.
  bool turn() {
    if (hasMemory()) findDirection(pairs_, gradient_, direction_);
    slope_ = hasMemory() ? dot(direction_, gradient_) : 0.0;
    if (slope_ < 0.0) return true;
    forget();
    const double largest = largestOf(gradient_);
    if (!(largest > 0.0)) return false;
    direction_ = gradient_;
    for (double& d : direction_) d *= -options_.firstMove / largest;
    slope_ = dot(direction_, gradient_);
    return true;
  }

  /// Moves along the direction, by the unit step or less. False if no step gains enough.
  bool move() {
    constexpr double sufficient = 1e-4;  // Armijo's share of the slope
    double step = 1.0;
    for (int trial = 0; trial < options_.mostTrials; ++trial) {
      trial_ = x_;
      addMultiple(trial_, step, direction_);
      const double next = evaluate(trial_, trialGradient_);
      if (next <= value_ + sufficient * step * slope_) {
        accept(next);
        return true;
      }
      const double fitted = -slope_ * step * step / (2.0 * (next - value_ - slope_ * step));
      step = std::clamp(fitted > 0.0 ? fitted : 0.5 * step, 0.1 * step, 0.5 * step);
    }
    return false;
  }

  /// Whether the last four moves have gained too little.
  bool hasConverged() const {
    double mean = 0.0;
    for (const double gain : gains_) mean += gain / numGains;
    return gains_.size() == numGains && mean < options_.relativeGain;
  }

 private:
  static constexpr std::size_t numGains = 4;

  double evaluate(const Vector& x, Vector& gradient) {
    ++evaluations_;
    return function_(x, gradient);
  }

  void accept(double next) {
    Pair pair = {trial_, trialGradient_, 0.0};
    addMultiple(pair.move, -1.0, x_);
    addMultiple(pair.change, -1.0, gradient_);
    const double product = dot(pair.move, pair.change);
    if (product > 0.0) {
      pair.inverseProduct = 1.0 / product;
      pairs_.push_back(std::move(pair));
      if (pairs_.size() > static_cast<std::size_t>(options_.pairs)) pairs_.pop_front();
    }
    constexpr double least = 1e-12;
    gains_.push_back((value_ - next) / std::max(std::abs(value_), least));
    if (gains_.size() > numGains) gains_.pop_front();
    x_.swap(trial_);
    gradient_.swap(trialGradient_);
    value_ = next;
  }

  const Lbfgs::Options& options_;
  const Lbfgs::Function& function_;
  Vector& x_;
  Vector gradient_;
  Vector trial_;
  Vector trialGradient_;
  Vector direction_;
  double value_ = 0.0;
  double slope_ = 0.0;  ///< along the direction
  int evaluations_ = 0;
  std::deque<Pair> pairs_;
  std::deque<double> gains_;  ///< of the last moves, relative
};

}  // namespace

Lbfgs::Summary Lbfgs::minimise(const Function& function, const GoesOn& goesOn, Vector& x) const {
  Summary summary;
  Descent descent(options_, function, x);
  for (int iteration = 0; iteration < options_.mostIterations; ++iteration) {
    if (!goesOn(iteration, descent.value())) {
      summary.interrupted = true;
      break;
    }
    if (!descent.turn()) break;
    if (descent.move()) {
      ++summary.iterations;
      if (descent.hasConverged()) break;
    } else if (descent.hasMemory()) {
      descent.forget();
    } else {
      break;
    }
  }
  summary.value = descent.value();
  summary.evaluations = descent.evaluations();
  return summary;
}

}  // namespace voxreg::detail
