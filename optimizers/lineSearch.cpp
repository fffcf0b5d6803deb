#include "optimizers/lineSearch.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>

#include "functional/RegFunctional.h"
#include "optimizers/searchProgress.h"
#include "optimizers/vectorArithmetic.h"
#include "transforms/RegParametricTransform.h"

namespace voxreg::detail {
namespace {

constexpr double goldenRatio = 1.618034;
constexpr double goldenSection = 0.381966;
constexpr double samePosition = 1.0e-6;  ///< positions closer than this are equal

double withSign(double magnitude, double sign) {
  return sign >= 0.0 ? std::abs(magnitude) : -std::abs(magnitude);
}

/// The point beyond b by the golden ratio times the step from a to b.
double beyond(double a, double b) {
  return b + goldenRatio * (b - a);
}

/// Drops the first of three values.
void shift(double& a, double& b, double& c, double next) {
  a = b;
  b = c;
  c = next;
}

/// Minimum of the parabola through the three points.
double parabolaMinimum(const Bracket& points) {
  constexpr double tiny = 1.0e-20;
  const auto& [a, b, c, fa, fb, fc] = points;
  const double r = (b - a) * (fb - fc);
  const double q = (b - c) * (fb - fa);
  const double denominator = 2.0 * withSign(std::max(std::abs(q - r), tiny), q - r);
  return b - ((b - c) * q - (b - a) * r) / denominator;
}

/// The interval of Brent's method with its three best points: x, the best; w, the second best; and
/// v, the previous w.
class BrentInterval {
 public:
  double x;
  double fx;

  BrentInterval(double ax, double cx, double start, double value)
      : x(start),
        fx(value),
        a_(std::min(ax, cx)),
        b_(std::max(ax, cx)),
        w_(start),
        v_(start),
        fw_(value),
        fv_(value) {}

  bool isNarrow(double tol) const { return std::abs(x - middle()) <= 2.0 * tol - 0.5 * (b_ - a_); }

  /// The next trial, at least `tol` away from x.
  double next(double tol) {
    if (!(std::abs(e_) > tol) || !stepToParabola(tol)) {
      e_ = x >= middle() ? a_ - x : b_ - x;
      d_ = goldenSection * e_;
    }
    return std::abs(d_) >= tol ? x + d_ : x + withSign(tol, d_);
  }

  void take(double u, double fu) {
    if (fu <= fx) {
      (u >= x ? a_ : b_) = x;
      shift(v_, w_, x, u);
      shift(fv_, fw_, fx, fu);
      return;
    }
    (u < x ? a_ : b_) = u;
    if (fu <= fw_ || w_ == x) {
      v_ = std::exchange(w_, u);
      fv_ = std::exchange(fw_, fu);
    } else if (fu <= fv_ || v_ == x || v_ == w_) {
      v_ = u;
      fv_ = fu;
    }
  }

 private:
  double middle() const { return 0.5 * (a_ + b_); }

  // False if the parabola's minimum is outside the interval or more than half the step before last
  // away.
  bool stepToParabola(double tol) {
    const double r = (x - w_) * (fx - fv_);
    double q = (x - v_) * (fx - fw_);
    double p = (x - v_) * q - (x - w_) * r;
    q = 2.0 * (q - r);
    if (q > 0.0) p = -p;
    q = std::abs(q);
    const double stepBeforeLast = std::exchange(e_, d_);
    if (std::abs(p) >= std::abs(0.5 * q * stepBeforeLast) || p <= q * (a_ - x) || p >= q * (b_ - x))
      return false;
    d_ = p / q;
    const double u = x + d_;
    if (u - a_ < 2.0 * tol || b_ - u < 2.0 * tol) d_ = withSign(tol, middle() - x);
    return true;
  }

  double a_;
  double b_;
  double w_;
  double v_;
  double fw_;
  double fv_;
  double d_ = 0.0;  ///< the last step
  double e_ = 0.0;  ///< the step before it
};

}  // namespace

LineSearch::LineSearch(RegGradientOptimizer& search, SearchProgress& progress, int numParams)
    : search_(search), progress_(progress), numParams_(numParams) {}

double LineSearch::valueAt(const NmDVector<double>& point, const NmDVector<double>& direction,
                           double x) {
  using Entry = RegGradientOptimizer::EntryLinmin;
  moveTo(point, direction, x);
  NmDArray<Entry>& cache = search_.lineCache;
  const Entry* const end = cache.data + cache.size;
  const Entry* const known =
      std::find_if(static_cast<const Entry*>(cache.data), end,
                   [x](const Entry& e) { return std::abs(x - e.position) < samePosition; });
  if (known != end) return -known->value;
  const Entry entry = {x, search_.functional->evaluate()};
  cache.insert(cache.size, 1, &entry);
  return -entry.value;
}

void LineSearch::bracket(const NmDVector<double>& point, const NmDVector<double>& direction,
                         Bracket& found) {
  constexpr double largestMagnification = 100.0;  // empirical
  auto& [a, b, c, fa, fb, fc] = found;
  // False when interrupted.
  const auto evaluate = [&](double x, double& f) {
    f = valueAt(point, direction, x);
    return !progress_.askInterrupted();
  };
  if (!evaluate(a, fa) || !evaluate(b, fb)) return;
  if (fb > fa) {
    std::swap(a, b);
    std::swap(fa, fb);
  }
  c = beyond(a, b);
  if (!evaluate(c, fc)) return;
  while (fb > fc) {
    double u = parabolaMinimum(found);
    double fu;
    const double limit = b + largestMagnification * (c - b);
    if ((b - u) * (u - c) > 0.0) {
      if (!evaluate(u, fu)) return;
      if (fu < fc) {
        a = std::exchange(b, u);
        fa = std::exchange(fb, fu);
        return;
      }
      if (fu > fb) {
        c = u;
        fc = fu;
        return;
      }
      u = beyond(b, c);
      if (!evaluate(u, fu)) return;
    } else if ((c - u) * (u - limit) > 0.0) {
      if (!evaluate(u, fu)) return;
      if (fu < fc) {
        shift(b, c, u, beyond(c, u));
        double next;
        const bool goesOn = evaluate(u, next);
        shift(fb, fc, fu, next);
        if (!goesOn) return;
      }
    } else {
      u = (u - limit) * (limit - c) >= 0.0 ? limit : beyond(b, c);
      if (!evaluate(u, fu)) return;
    }
    shift(a, b, c, u);
    shift(fa, fb, fc, fu);
  }
}

double LineSearch::refine(const NmDVector<double>& point, const NmDVector<double>& direction,
                          double a, double b, double c, double relativeTolerance, double& x) {
  constexpr double smallOffset = 1.0e-10;
  const double start = valueAt(point, direction, b);
  if (progress_.askInterrupted()) return start;
  BrentInterval interval(a, c, b, start);
  for (int its = 0; its < 100; ++its) {
    const double tol = relativeTolerance * std::abs(interval.x) + smallOffset;
    if (interval.isNarrow(tol)) break;
    const double u = interval.next(tol);
    const double fu = valueAt(point, direction, u);
    if (progress_.askInterrupted()) return fu;
    interval.take(u, fu);
  }
  x = interval.x;
  return interval.fx;
}

void LineSearch::minimise(NmDVector<double>& point, NmDVector<double>& direction, double maxMove,
                          double& value, double& length) {
  search_.lineCache.clear();
  Bracket found = {0.0, length, 2.0 * length, value, value, value};
  bracket(point, direction, found);
  if (progress_.askInterrupted()) {
    value = found.fb;
    returnIfLost(point, value);
    return;
  }
  value = refine(point, direction, found.a, found.b, found.c, 0.01, length);
  moveTo(point, direction, length);
  if (maxMove > 0.0 && (length < -maxMove || length > maxMove))
    limitMove(point, direction, maxMove, value, length);
  if (returnIfLost(point, value)) length = 0.0;
  const std::int64_t moved = std::min({std::int64_t{numParams_}, direction.size, point.size});
  for (std::int64_t j = 0; j < moved; ++j) {
    direction[j] = length * direction[j];
    point[j] += direction[j];
  }
  length = std::abs(length);
}

// Goes back toward the start while the value at the limit is worse.
void LineSearch::limitMove(const NmDVector<double>& point, const NmDVector<double>& direction,
                           double maxMove, double& value, double& length) {
  double m = withSign(maxMove, length);
  const double atStart = valueAt(point, direction, 0.0);
  double atLimit = valueAt(point, direction, m);
  while (atStart < atLimit && std::abs(m) > 0.001 * maxMove) {
    m /= 2.0;
    atLimit = valueAt(point, direction, m);
  }
  length = m;
  value = atLimit;
}

void LineSearch::moveTo(const NmDVector<double>& point, const NmDVector<double>& direction,
                        double x) {
  NmDVector<double>& params = search_.transform->params;
  const std::int64_t moved =
      std::min({std::int64_t{numParams_}, point.size, direction.size, params.size});
  for (std::int64_t j = 0; j < moved; ++j) params[j] = point[j] + x * direction[j];
}

// A metric that rises indefinitely along a line drives the parameters to infinity. True if they
// were reset to the start of the line, whose first evaluation is in the cache.
bool LineSearch::returnIfLost(const NmDVector<double>& point, double& value) {
  NmDVector<double>& params = search_.transform->params;
  if (isFinite(params)) return false;
  std::copy_n(point.data, std::min(point.size, params.size), params.data);
  value = -search_.lineCache[0].value;
  return true;
}

}  // namespace voxreg::detail
