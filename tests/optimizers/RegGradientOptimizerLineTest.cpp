#include <array>
#include <random>

#include "optimizers/RegGradientOptimizer.h"
#include "tests/optimizers/searchTrace.h"
#include "tests/support/LogCapture.h"

namespace {

using Line = std::function<double(double)>;

/// A search along the first parameter of a landscape, and what it needs to be called.
class LineProblem : public AnalyticProblem {
 public:
  explicit LineProblem(const Line& height)
      : AnalyticProblem([height](const Point& p) { return height(p[0]); }, 1),
        search(nullptr, 0.001f, false) {
    search.setFunctional(&functional);
    point.resize(1);
    point[0] = 0.0;
    direction.resize(1);
    direction[0] = 1.0;
  }

  std::vector<double> positions() const {
    std::vector<double> all;
    for (const Point& trial : metric->trials) all.push_back(trial[0]);
    return all;
  }

  RegGradientOptimizer search;
  NmDVector<double> point, direction;
};

/// The textbook's bracket and Brent's method on -height, written out in one piece each.
struct NaiveLine {
  const Line& height;
  std::vector<double> positions = {}, values = {};

  double f(double x) {
    for (std::size_t i = 0; i < positions.size(); ++i)
      if (std::abs(x - positions[i]) < 1e-6) return -values[i];
    positions.push_back(x);
    values.push_back(height(x));
    return -values.back();
  }

  std::array<double, 3> bracket(double a, double b) {
    double fa = f(a), fb = f(b), u, fu;
    if (fb > fa) {
      std::swap(a, b);
      std::swap(fa, fb);
    }
    double c = b + 1.618034 * (b - a), fc = f(c);
    while (fb > fc) {
      const double r = (b - a) * (fb - fc), q = (b - c) * (fb - fa);
      const double size = std::max(std::abs(q - r), 1e-20);
      u = b - ((b - c) * q - (b - a) * r) / (2.0 * (q - r >= 0.0 ? size : -size));
      const double limit = b + 100.0 * (c - b);
      if ((b - u) * (u - c) > 0.0) {
        fu = f(u);
        if (fu < fc) return {b, u, c};
        if (fu > fb) return {a, b, u};
        u = c + 1.618034 * (c - b);
        fu = f(u);
      } else if ((c - u) * (u - limit) > 0.0) {
        fu = f(u);
        if (fu < fc) {
          b = c, c = u, u = c + 1.618034 * (c - b);
          fb = fc, fc = fu, fu = f(u);
        }
      } else {
        u = (u - limit) * (limit - c) >= 0.0 ? limit : c + 1.618034 * (c - b);
        fu = f(u);
      }
      a = b, b = c, c = u;
      fa = fb, fb = fc, fc = fu;
    }
    return {a, b, c};
  }

  double minimise(double ax, double bx, double cx, double tolerance) {
    double a = std::min(ax, cx), b = std::max(ax, cx), d = 0.0, e = 0.0;
    double x = bx, w = bx, v = bx, fx = f(x), fw = fx, fv = fx;
    for (int i = 0; i < 100; ++i) {
      const double m = 0.5 * (a + b), tol1 = tolerance * std::abs(x) + 1e-10, tol2 = 2.0 * tol1;
      if (std::abs(x - m) <= tol2 - 0.5 * (b - a)) break;
      bool golden = true;
      if (std::abs(e) > tol1) {
        const double r = (x - w) * (fx - fv);
        double q = (x - v) * (fx - fw), p = (x - v) * q - (x - w) * r;
        q = 2.0 * (q - r);
        p = q > 0.0 ? -p : p;
        q = std::abs(q);
        const double old = e;
        e = d;
        golden = std::abs(p) >= std::abs(0.5 * q * old) || p <= q * (a - x) || p >= q * (b - x);
        if (!golden) {
          d = p / q;
          if (x + d - a < tol2 || b - (x + d) < tol2) d = m - x >= 0.0 ? tol1 : -tol1;
        }
      }
      if (golden) {
        e = x >= m ? a - x : b - x;
        d = 0.381966 * e;
      }
      const double u = std::abs(d) >= tol1 ? x + d : d >= 0.0 ? x + tol1 : x - tol1;
      const double fu = f(u);
      if (fu <= fx) {
        (u >= x ? a : b) = x;
        v = w, w = x, x = u;
        fv = fw, fw = fx, fx = fu;
      } else {
        (u < x ? a : b) = u;
        if (fu <= fw || w == x) {
          v = w, w = u, fv = fw, fw = fu;
        } else if (fu <= fv || v == x || v == w) {
          v = u, fv = fu;
        }
      }
    }
    return x;
  }
};

std::vector<Line> lines() {
  std::vector<Line> all = {
      [](double x) { return -(x - 3.0) * (x - 3.0); },
      [](double x) { return -std::abs(x - 70.0); },
      [](double x) { return -std::cosh(x + 2.0); },
      [](double) { return 1.0; },
      [](double x) { return x > 2.0 ? -1000.0 : x; },
      [](double x) { return x > 2.0 ? std::nan("") : x; },
      [](double) { return std::nan(""); },
      [](double x) { return x < 40.0 ? std::sqrt(x + 10.0) : -x; },
  };
  std::mt19937 random(7);
  std::uniform_real_distribution<double> uniform(-1.0, 1.0);
  for (int i = 0; i < 60; ++i) {
    const double centre = 5.0 * uniform(random), wave = uniform(random), slope = uniform(random);
    all.push_back([=](double x) {
      return -std::pow(std::abs(x - centre), 1.5) + wave * std::cos(3.0 * x) + slope * x;
    });
  }
  return all;
}

TEST(RegGradientOptimizerLine, VisitsThePointsOfTheTextbook) {
  for (const Line& line : lines())
    for (const double length : {1.0, 0.05, -0.5, 8.0, 0.0}) {
      LineProblem problem(line);
      NaiveLine naive = {line};
      const auto [a, b, c] = naive.bracket(0.0, length);
      const double x = naive.minimise(a, b, c, 0.01);
      double value = 0.0, reached = length;
      problem.search.linmin(problem.point, problem.direction, 0.0, 1, &value, &reached);
      EXPECT_EQ(problem.positions(), naive.positions);
      EXPECT_EQ(problem.point[0], x);
      EXPECT_EQ(problem.direction[0], x);
      EXPECT_EQ(problem.transform.params[0], x);
      EXPECT_EQ(reached, std::abs(x));
      EXPECT_TRUE(value == -line(x) || std::isnan(value));
    }
}

TEST(RegGradientOptimizerLine, TakesTheValueOfAKnownPositionButMoves) {
  LineProblem problem([](double x) { return x; });
  RegGradientOptimizer& search = problem.search;
  EXPECT_EQ(search.f1dim(1, problem.point, problem.direction, 2.0), -2.0);
  EXPECT_EQ(search.f1dim(1, problem.point, problem.direction, 2.0 + 5e-7), -2.0);
  EXPECT_EQ(problem.transform.params[0], 2.0 + 5e-7);
  EXPECT_EQ(search.f1dim(1, problem.point, problem.direction, 2.0 + 2e-6, 0), -(2.0 + 2e-6));
  EXPECT_EQ(search.f1dim(9, problem.point, problem.direction, 2.0 + 1.2e-6), -(2.0 + 2e-6));
  EXPECT_EQ(problem.metric->trials.size(), 2u);
  EXPECT_EQ(search.lineCache.size, 2);
}

// At the limit of 3.6 and at half of it the metric is worse than at the start; where it is so all
// the way, the search gives up at a thousandth of the limit.
TEST(RegGradientOptimizerLine, LimitsAMoveAndFallsBackTowardTheStart) {
  LineProblem problem([](double x) { return x > 0.9 && x < 4.5 ? -9.0 - x : -std::abs(x - 10.0); });
  double value = 0.0, length = 6.0;
  problem.search.linmin(problem.point, problem.direction, 3.6, 1, &value, &length);
  EXPECT_EQ(length, 0.9);
  EXPECT_EQ(value, 9.1);
  EXPECT_EQ(problem.transform.params[0], 0.9);
  LineProblem fenced([](double x) { return x <= 0.0 ? 5.0 : x < 7.0 ? -x : 20.0 - x; });
  length = 8.0;
  fenced.search.linmin(fenced.point, fenced.direction, 1.0, 1, &value, &length);
  EXPECT_EQ(length, std::ldexp(1.0, -10));
}

TEST(RegGradientOptimizerLine, StaysWhereItWasOnALineThatRisesForEver) {
  for (const double slope : {1.0, -1.0}) {
    LineProblem problem([=](double x) { return 3.0 + slope * x; });
    double value = -1.0, length = slope;
    problem.search.linmin(problem.point, problem.direction, 0.0, 1, &value, &length);
    EXPECT_EQ(problem.transform.params[0], 0.0);
    EXPECT_EQ(problem.point[0], 0.0);
    EXPECT_EQ(problem.direction[0], 0.0);
    EXPECT_EQ(value, -3.0);
    EXPECT_EQ(length, 0.0);
  }
}

TEST(RegGradientOptimizerLine, EveryOperationWithoutAFunctionalSaysSo) {
  LogCapture log;
  LineProblem problem([](double) { return 1.0; });
  RegGradientOptimizer& search = problem.search;
  search.setFunctional(nullptr);
  double a = 0, b = 1, c = 2, fa = 3, fb = 4, fc = 5;
  int count = 7;
  EXPECT_EQ(search.optimize(1.0f, 1.0f), -1000.0);
  EXPECT_EQ(search.getDirection(1.0f, problem.direction, a, count, nullptr), 0);
  EXPECT_EQ(a, -1000.0);
  search.linmin(problem.point, problem.direction, 0.0, 1, &fa, &b);
  EXPECT_EQ(search.f1dim(1, problem.point, problem.direction, 1.0), 1000.0);
  search.mnbrak(1, problem.point, problem.direction, &a, &b, &c, &fa, &fb, &fc);
  EXPECT_EQ(search.brent(1, problem.point, problem.direction, 0, 1, 2, 0.01, &c), 1000.0);
  EXPECT_EQ(search.steepestDescent(1.0f, 1.0f), 1000.0);
  search.conjugateGradients(1.0f, 1.0f, 0.1f, &fb, &count);
  search.quasiNewton(1.0f, 1.0f, 0.1f, &fb, &count);
  EXPECT_EQ(fb, 4.0);
  EXPECT_EQ(log.errors.size(), 9u);
}

}  // namespace
