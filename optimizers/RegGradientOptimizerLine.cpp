#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>

#include "functional/RegFunctional.h"
#include "optimizers/RegGradientOptimizer.h"
#include "optimizers/vectorArithmetic.h"
#include "transforms/RegParametricTransform.h"

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

/// Minimum of the parabola through three points.
double parabolaMinimum(double a, double b, double c, double fa, double fb, double fc) {
  constexpr double tiny = 1.0e-20;
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

double RegGradientOptimizer::f1dim(int n, const NmDVector<double>& point,
                                   const NmDVector<double>& direction, double x, int) {
  if (!canSearch("RegGradientOptimizer::f1dim")) return 1000.0;
  moveTo(n, point, direction, x);
  const EntryLinmin* const end = lineCache.data + lineCache.size;
  const EntryLinmin* const known =
      std::find_if(static_cast<const EntryLinmin*>(lineCache.data), end,
                   [x](const EntryLinmin& e) { return std::abs(x - e.position) < samePosition; });
  if (known != end) return -known->value;
  const EntryLinmin entry = {x, functional->evaluate()};
  lineCache.insert(lineCache.size, 1, &entry);
  return -entry.value;
}

void RegGradientOptimizer::mnbrak(int n, const NmDVector<double>& point,
                                  const NmDVector<double>& direction, double* ax, double* bx,
                                  double* cx, double* fa, double* fb, double* fc, int) {
  constexpr double largestMagnification = 100.0;  // empirical
  if (!canSearch("RegGradientOptimizer::mnbrak")) return;
  // False when interrupted.
  const auto evaluate = [&](double x, double& f) {
    f = f1dim(n, point, direction, x);
    return !wasInterrupted();
  };
  if (!evaluate(*ax, *fa) || !evaluate(*bx, *fb)) return;
  if (*fb > *fa) {
    std::swap(*ax, *bx);
    std::swap(*fa, *fb);
  }
  *cx = beyond(*ax, *bx);
  if (!evaluate(*cx, *fc)) return;
  while (*fb > *fc) {
    double u = parabolaMinimum(*ax, *bx, *cx, *fa, *fb, *fc);
    double fu;
    const double limit = *bx + largestMagnification * (*cx - *bx);
    if ((*bx - u) * (u - *cx) > 0.0) {
      if (!evaluate(u, fu)) return;
      if (fu < *fc) {
        *ax = std::exchange(*bx, u);
        *fa = std::exchange(*fb, fu);
        return;
      }
      if (fu > *fb) {
        *cx = u;
        *fc = fu;
        return;
      }
      u = beyond(*bx, *cx);
      if (!evaluate(u, fu)) return;
    } else if ((*cx - u) * (u - limit) > 0.0) {
      if (!evaluate(u, fu)) return;
      if (fu < *fc) {
        shift(*bx, *cx, u, beyond(*cx, u));
        double next;
        const bool goesOn = evaluate(u, next);
        shift(*fb, *fc, fu, next);
        if (!goesOn) return;
      }
    } else {
      u = (u - limit) * (limit - *cx) >= 0.0 ? limit : beyond(*bx, *cx);
      if (!evaluate(u, fu)) return;
    }
    shift(*ax, *bx, *cx, u);
    shift(*fa, *fb, *fc, fu);
  }
}

double RegGradientOptimizer::brent(int n, const NmDVector<double>& point,
                                   const NmDVector<double>& direction, double ax, double bx,
                                   double cx, double relativeTolerance, double* xmin, int) {
  constexpr double smallOffset = 1.0e-10;
  if (!canSearch("RegGradientOptimizer::brent")) return 1000.0;
  const double start = f1dim(n, point, direction, bx);
  if (wasInterrupted()) return start;
  BrentInterval interval(ax, cx, bx, start);
  for (int its = 0; its < 100; ++its) {
    const double tol = relativeTolerance * std::abs(interval.x) + smallOffset;
    if (interval.isNarrow(tol)) break;
    const double u = interval.next(tol);
    const double fu = f1dim(n, point, direction, u);
    if (wasInterrupted()) return fu;
    interval.take(u, fu);
  }
  *xmin = interval.x;
  return interval.fx;
}

void RegGradientOptimizer::linmin(NmDVector<double>& point, NmDVector<double>& direction,
                                  double maxMove, int n, double* value, double* length) {
  if (!canSearch("RegGradientOptimizer::linmin")) return;
  lineCache.clear();
  double ax = 0.0;
  double bx = *length;
  double cx = 2.0 * *length;
  double fa = *value;
  double fb = *value;
  double fc = *value;
  mnbrak(n, point, direction, &ax, &bx, &cx, &fa, &fb, &fc);
  if (wasInterrupted()) {
    *value = fb;
    returnIfLost(point, value);
    return;
  }
  *value = brent(n, point, direction, ax, bx, cx, 0.01, length);
  moveTo(n, point, direction, *length);
  if (maxMove > 0.0 && (*length < -maxMove || *length > maxMove))
    limitMove(n, point, direction, maxMove, value, length);
  if (returnIfLost(point, value)) *length = 0.0;
  const std::int64_t moved = std::min({static_cast<std::int64_t>(n), direction.size, point.size});
  for (std::int64_t j = 0; j < moved; ++j) {
    direction[j] = *length * direction[j];
    point[j] += direction[j];
  }
  *length = std::abs(*length);
}

// Goes back toward the start while the value at the limit is worse.
void RegGradientOptimizer::limitMove(int n, const NmDVector<double>& point,
                                     const NmDVector<double>& direction, double maxMove,
                                     double* value, double* length) {
  double m = withSign(maxMove, *length);
  const double atStart = f1dim(n, point, direction, 0.0);
  double atLimit = f1dim(n, point, direction, m);
  while (atStart < atLimit && std::abs(m) > 0.001 * maxMove) {
    m /= 2.0;
    atLimit = f1dim(n, point, direction, m);
  }
  *length = m;
  *value = atLimit;
}

void RegGradientOptimizer::moveTo(std::int64_t n, const NmDVector<double>& point,
                                  const NmDVector<double>& direction, double x) {
  NmDVector<double>& params = transform->params;
  const std::int64_t moved = std::min({n, point.size, direction.size, params.size});
  for (std::int64_t j = 0; j < moved; ++j) params[j] = point[j] + x * direction[j];
}

// A metric that rises indefinitely along a line drives the parameters to infinity. True if they
// were reset to the start of the line, whose first evaluation is in the cache.
bool RegGradientOptimizer::returnIfLost(const NmDVector<double>& point, double* value) {
  NmDVector<double>& params = transform->params;
  if (voxreg::detail::isFinite(params)) return false;
  std::copy_n(point.data, std::min(point.size, params.size), params.data);
  *value = -lineCache[0].value;
  return true;
}
