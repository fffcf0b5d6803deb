#include "variational/search/lbfgs.h"

#include <algorithm>
#include <cmath>
#include <deque>

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
void turn(const std::deque<Pair>& pairs, const Vector& gradient, Vector& direction) {
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

}  // namespace

Lbfgs::Summary Lbfgs::minimise(const Function& function, const GoesOn& goesOn, Vector& x) const {
  constexpr double sufficient = 1e-4;  // Armijo's share of the slope
  Summary summary;
  Vector gradient(x.size());
  Vector trialGradient(x.size());
  Vector direction;
  Vector trial;
  std::deque<Pair> pairs;
  std::deque<double> gains;
  double value = function(x, gradient);
  summary.evaluations = 1;
  summary.value = value;
  for (int iteration = 0; iteration < options_.mostIterations; ++iteration) {
    if (!goesOn(iteration, value)) {
      summary.interrupted = true;
      break;
    }
    if (!pairs.empty()) turn(pairs, gradient, direction);
    double slope = pairs.empty() ? 0.0 : dot(direction, gradient);
    if (!(slope < 0.0)) {
      pairs.clear();
      const double largest = largestOf(gradient);
      if (!(largest > 0.0)) break;
      direction = gradient;
      for (double& d : direction) d *= -options_.firstMove / largest;
      slope = dot(direction, gradient);
    }
    double step = 1.0;
    double next = value;
    bool found = false;
    for (int t = 0; t < options_.mostTrials && !found; ++t) {
      trial = x;
      addMultiple(trial, step, direction);
      next = function(trial, trialGradient);
      ++summary.evaluations;
      found = next <= value + sufficient * step * slope;
      if (!found) {
        const double fitted = -slope * step * step / (2.0 * (next - value - slope * step));
        step = std::clamp(fitted > 0.0 ? fitted : 0.5 * step, 0.1 * step, 0.5 * step);
      }
    }
    if (!found) {
      if (pairs.empty()) break;
      pairs.clear();
      continue;
    }
    Pair pair;
    pair.move = trial;
    addMultiple(pair.move, -1.0, x);
    pair.change = trialGradient;
    addMultiple(pair.change, -1.0, gradient);
    const double product = dot(pair.move, pair.change);
    gains.push_back((value - next) / std::max(std::abs(value), 1e-12));
    if (gains.size() > 4) gains.pop_front();
    x.swap(trial);
    gradient.swap(trialGradient);
    value = next;
    ++summary.iterations;
    if (product > 0.0) {
      pair.inverseProduct = 1.0 / product;
      pairs.push_back(std::move(pair));
      if (pairs.size() > static_cast<std::size_t>(options_.pairs)) pairs.pop_front();
    }
    double mean = 0.0;
    for (const double gain : gains) mean += gain / 4.0;
    if (gains.size() == 4 && mean < options_.relativeGain) break;
  }
  summary.value = value;
  return summary;
}

}  // namespace voxreg::detail
