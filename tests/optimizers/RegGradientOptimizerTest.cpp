#include "optimizers/RegGradientOptimizer.h"

#include <deque>
#include <numeric>
#include <regex>

#include "metrics/RegMetric.h"
#include "tests/optimizers/searchTrace.h"
#include "tests/support/LogCapture.h"

namespace {

using Vector = NmDVector<double>;

double dot(const Vector& a, const Vector& b) {
  return std::inner_product(a.data, a.data + a.size, b.data, 0.0);
}

Vector normalised(Vector v) {
  double most = 0.0;
  for (long i = 0; i < v.size; ++i) most = std::max(most, std::abs(v[i]));
  for (long i = 0; most > 0.0 && i < v.size; ++i) v[i] /= most;
  return v;
}

Vector negative(Vector v) {
  for (long i = 0; i < v.size; ++i) v[i] = -v[i];
  return v;
}

double meanOf(const std::deque<double>& newestFirst, int count) {
  return std::accumulate(newestFirst.begin(), newestFirst.begin() + count, 0.0) / count;
}

/// The methods in one piece each, on the search's own gradient and line search.
struct NaiveMethods {
  RegGradientOptimizer& search;
  float maxStep, minStep;
  int dim = search.transform->getVariableParamVectorDim();
  float factor = std::min(minStep, maxStep);
  int penalised = 0;
  int restarts = 0;

  int gradient(Vector& v, double& value) {
    const int usable = search.getDirection(factor, v, value, penalised, nullptr);
    value = -value;
    return usable;
  }

  double steepest() {
    double a = static_cast<double>(maxStep), b = a, c = a, value = 0.0;
    Vector d;
    for (int its = 0; its < 100 && gradient(d, value) != 0; ++its) {
      Vector point = search.transform->params;
      double length = 0.33333 * (a + b + c);
      search.linmin(point, d, 0.0, dim, &value, &length);
      if (static_cast<double>(minStep) * 0.2 > length) break;
      c = b, b = a, a = length;
    }
    return value;
  }

  double conjugate(double tolerance) {
    std::deque<double> lengths(5, static_cast<double>(maxStep));
    Vector g, h, xi;
    double value = 0.0, fp;
    for (restarts = 0; restarts < std::max(1, 100 / std::max(1, dim)); ++restarts) {
      double length = lengths.front();
      if (gradient(xi, fp) == 0) return value;
      value = fp;
      g = h = xi;
      for (int its = 1; its <= dim; ++its) {
        Vector point = search.transform->params;
        double reached = length;
        search.linmin(point, xi, 0.0, dim, &value, &reached);
        if (!(2.0 * std::abs(value - fp) > (std::abs(value) + std::abs(fp) + 0.001) * tolerance))
          return value;
        if (gradient(xi, fp) == 0) return value;
        xi = negative(xi);
        lengths.push_front(reached);
        length = meanOf(lengths, std::min(its, 5));
        Vector sum = g;
        for (long i = 0; i < dim; ++i) sum[i] += xi[i];
        const double gamma = dot(sum, xi) / dot(g, g);
        g = negative(xi);
        for (long i = 0; i < dim; ++i) h[i] = h[i] * gamma - xi[i];
        xi = normalised(h);
      }
    }
    return value;
  }

  double quasiNewton(double tolerance, bool isBigGrid) {
    std::deque<double> lengths(3, static_cast<double>(maxStep));
    float targets[] = {75, 80, 85, 90, 95, 97, 99, 100, 100, 100};
    Vector g, xi, hdg, dg;
    double value = 0.0, fp, tol = tolerance;
    for (int total = 0; restarts < 10 && total <= 99; ++restarts) {
      double length = lengths.front(), before;
      if (gradient(g, fp) == 0) return value;
      g = negative(g);
      before = value = fp;
      std::vector<std::pair<double, Vector>> terms;
      const auto times = [&](const Vector& v) {
        Vector product = v;
        for (const auto& [weight, term] : terms) {
          const double along = weight * dot(v, term);
          for (long i = 0; i < dim; ++i) product[i] += along * term[i];
        }
        return product;
      };
      xi = negative(g);
      for (int its = 1; its <= 2 * dim; ++its, ++total) {
        double reached = length;
        Vector point = search.transform->params;
        search.linmin(point, xi, 0.0, dim, &value, &reached);
        if (isBigGrid && total > 20) tol *= 1.359356390878526;
        const double scale = (std::abs(value) + std::abs(before) + 0.001) * tol;
        const double distance = 2.0 * std::abs(value - before);
        if (!(distance > scale)) {
          if (dim > 12) search.functional->evaluate();
          return value;
        }
        const float part = static_cast<float>(std::log(scale) - std::log(distance)) / 10.0f + 1.0f;
        if (dim > 12 && std::max(0.0f, part) * 100.0f >= targets[restarts] &&
            !(restarts == 0 && its < 5)) {
          search.functional->evaluate();
          break;
        }
        const double current = value;
        dg = negative(g);
        if (gradient(g, value) == 0) return value;
        g = negative(g);
        lengths.push_front(reached);
        length = meanOf(lengths, std::min(its, 3));
        for (long i = 0; i < dim; ++i) dg[i] += g[i];
        hdg = times(dg);
        const double fac = dot(dg, xi), fae = dot(dg, hdg);
        for (long i = 0; i < dim; ++i) dg[i] = -1.0 / fae * hdg[i] + 1.0 / fac * xi[i];
        terms.insert(terms.end(), {{1.0 / fac, xi}, {-1.0 / fae, hdg}, {fae, dg}});
        xi = normalised(negative(times(g)));
        if (!(dot(xi, g) < 0.0)) xi = negative(g);
        before = current;
        if (its > (restarts == 0 ? 7 : 3)) targets[restarts] -= 1.0f;
      }
    }
    return value;
  }
};

template <class Problem>
struct Search : Problem {
  template <class... Arguments>
  explicit Search(int method, float tolerance, Arguments&&... arguments)
      : Problem(std::forward<Arguments>(arguments)...), optimizer(nullptr, tolerance, false) {
    optimizer.method = method;
    optimizer.setFunctional(&this->functional);
  }
  RegGradientOptimizer optimizer;
};

bool matches(const std::string& line, const std::string& pattern) {
  return std::regex_match(line, std::regex(pattern));
}

std::size_t countSteps(const std::vector<std::string>& lines) {
  const std::string step =
      "Metric result -?\\d+\\.\\d{5}, step size \\d+\\.\\d{3}, 0\\.\\d{3} sec\\.";
  return static_cast<std::size_t>(std::count_if(
      lines.begin(), lines.end(), [&](const std::string& line) { return matches(line, step); }));
}

TEST(RegGradientOptimizer, VisitsThePointsOfTheNaiveMethods) {
  const LogCapture log;
  for (const Landscape& landscape : landscapes)
    for (const int method : {0, 1, 2})
      for (const int dim : {0, 1, 2, 3, 12})
        for (const float tolerance : {1e-4f, -1.0f}) {
          SCOPED_TRACE(std::string(landscape.name) + ", " + std::to_string(dim) + ", method " +
                       std::to_string(method));
          Search<AnalyticProblem> tested(method, tolerance, landscape.height, dim);
          Search<AnalyticProblem> twin(method, tolerance, landscape.height, dim);
          NaiveMethods naive = {twin.optimizer, 1.5f, 0.5f};
          const auto tol = static_cast<double>(tolerance);
          const double value = tested.optimizer.optimize(1.5f, 0.5f);
          const double expected = method == 0   ? naive.steepest()
                                  : method == 1 ? naive.conjugate(tol)
                                                : naive.quasiNewton(tol, false);
          expectSame(value, -expected, tested.metric->trials, twin.metric->trials);
        }
}

/// Vertices want to go to places of their own, each coordinate at its own pace.
double pull(const Point& p) {
  double sum = 0.0;
  for (std::size_t i = 0; i < p.size(); ++i) {
    const auto k = static_cast<double>(i);
    const double x = p[i] - 500.0 * std::round(p[i] / 500.0) - std::sin(k);
    sum -= (1.0 + k * k / 4.0) * x * x + (i > 0 ? 0.5 * x * (p[i - 1] - 500.0) / 1000.0 : 0.0);
  }
  return 20.0 + sum / 10.0;
}

TEST(RegGradientOptimizer, RestartsAndLoosensOnAGridAsTheNaiveMethodDoes) {
  LogCapture log;
  std::vector<std::pair<NmVec3i, float>> cases = {{{13, 1, 1}, 1e-6f}, {{2, 1, 1}, -1.0f}};
  for (int i = 0; i < 16; ++i)
    cases.push_back({{1 + i % 2, 1, 1}, 0.2f * std::pow(0.4f, static_cast<float>(i))});
  for (const auto& [bricks, tolerance] : cases) {
    SCOPED_TRACE(tolerance);
    Search<GridProblem> tested(2, tolerance, bricks, pull);
    Search<GridProblem> twin(2, tolerance, bricks, pull);
    log.lines.clear();
    tested.functional.maxOtherPenalty = 1.0;
    const double value = tested.optimizer.optimize(1.0f, 0.5f);
    NaiveMethods naive = {twin.optimizer, 1.0f, 0.5f};
    const double expected = naive.quasiNewton(static_cast<double>(tolerance * 0.1f), bricks.x > 12);
    expectSame(value, -expected, tested.metric->trials, twin.metric->trials);
    EXPECT_EQ(tested.functional.maxOtherPenalty, 0.0);
    if (tolerance < 0.0f) continue;  // never converges
    const std::size_t steps = countSteps(log.lines);
    ASSERT_EQ(log.lines.size(), steps + 3);
    EXPECT_EQ(log.lines[steps + 1].find("quasiNewton: " + std::to_string(steps) + " its, "), 0u);
    EXPECT_TRUE(matches(log.lines[steps + 2],
                        "  \\d\\.\\d{3} sec\\. for computation and decomposition of Jacobians"));
  }
}

TEST(RegGradientOptimizer, LogsEveryStepOfTheQuasiNewtonSearch) {
  LogCapture log;
  Search<AnalyticProblem> run(2, 1e-4f, hill);
  run.optimizer.optimize(1.5f, 0.5f);
  const std::size_t steps = countSteps(log.lines);
  ASSERT_EQ(log.lines.size(), steps + 2);
  EXPECT_TRUE(
      matches(log.lines[0], "Metric result 1\\.33300,                      0\\.\\d{3} sec\\."));
  EXPECT_TRUE(matches(log.lines.back(),
                      "quasiNewton: " + std::to_string(steps) +
                          " its, \\d\\.\\d\\d of \\d\\.\\d\\d sec\\. for gradient calculation"));
  log.lines.clear();
  run.optimizer.restrictedMotion = true;
  run.optimizer.optimize(1.5f, 0.5f);
  EXPECT_TRUE(matches(log.lines[0],
                      "Metric \\d\\.\\d{5},             rel\\.covrg 1\\.000, 0\\.\\d{3} sec\\."));
  EXPECT_TRUE(
      matches(log.lines[1],
              "Metric \\d\\.\\d{5}, step \\d\\.\\d{3}, rel\\.covrg 1\\.000, 0\\.\\d{3} sec\\."));
}

// A tolerance below 0 is never met, and where rise and fall differ, the gradient is never zero.
TEST(RegGradientOptimizer, WarnsAfterTenRestartsThatUsedAllTheirIterations) {
  LogCapture log;
  Search<AnalyticProblem> run(
      2, -1.0f, [](const Point& p) { return p[0] - std::exp(p[0]) + p[1] - std::exp(2.0 * p[1]); },
      2);
  run.optimizer.optimize(1.0f, 0.5f);
  EXPECT_EQ(countSteps(log.lines), 10u * 4u);
  EXPECT_EQ(log.lines.back(), "Warning: 10 restarts in quasi-Newton optimization.");
}

TEST(RegGradientOptimizer, ScalesTheGradientToAStepOfTheSteepestParameter) {
  Search<AnalyticProblem> run(
      2, 1e-4f, [](const Point& p) { return p[0] - 4.0 * p[1] + p[3] + 9.0; }, 6);
  NmVec3d extent(4, 4, 4);
  const double step = run.transform.getParamStep(3, &extent);
  const auto trial = static_cast<double>(static_cast<float>(step));
  Vector direction;
  double value;
  int penalised = 5;
  float seconds = 1.0f;
  for (const bool restricted : {false, true}) {
    const double rotation = trial * (restricted ? 0.3 : 1.0);
    const double most = std::max(4.0, rotation);
    run.optimizer.restrictedMotion = restricted;
    ASSERT_EQ(run.optimizer.getDirection(0.5f, direction, value, penalised, &seconds), 1);
    ASSERT_EQ(direction.size, 6);
    const double expected[] = {1.0 / most, -4.0 / most, 0.0, step * rotation / most, 0.0, 0.0};
    for (long i = 0; i < 6; ++i) EXPECT_NEAR(direction[i], expected[i], 1e-5 * step) << i;
  }
  EXPECT_EQ(value, 9.0);
  EXPECT_EQ(penalised, 0);
  EXPECT_GE(seconds, 1.0f);
  Search<AnalyticProblem> flat(1, 1e-4f, landscapes[3].height);
  EXPECT_EQ(flat.optimizer.getDirection(0.5f, direction, value, penalised, nullptr), 0);
  EXPECT_EQ(direction.size, 3);
  EXPECT_EQ(direction[1], 0.0);
  for (const int method : {1, 2, 7}) {
    flat.optimizer.method = method;
    const double result = flat.optimizer.optimize(1.0f, 1.0f);
    EXPECT_TRUE(result == 0.0 && std::signbit(result));
  }
  flat.optimizer.method = 0;
  EXPECT_EQ(flat.optimizer.optimize(1.0f, 1.0f), -2.5);
}

// The first line gains 1 from 3 to 4: 1 + ln(1e-4 * 7.001 / 2) / 10 is 0.204 of the second stage.
TEST(RegGradientOptimizer, ReportsTheWayToConvergence) {
  const LogCapture log;
  for (const int method : {1, 2}) {
    SearchWatcher watcher;
    Search<AnalyticProblem> run(
        method, 1e-4f, [](const Point& p) { return 4.0 - (p[0] - 1.0) * (p[0] - 1.0); }, 1);
    run.optimizer.callback = &watcher;
    run.optimizer.stageNumber = run.optimizer.numStages = 2;
    run.optimizer.optimize(1.5f, 0.5f);
    ASSERT_GE(watcher.values.size(), 2u);
    EXPECT_EQ(watcher.values[0], 50);
    EXPECT_EQ(watcher.values[1], 60);
  }
}

}  // namespace
