#include "optimizers/RegGradientOptimizer.h"

#include <deque>
#include <numeric>
#include <regex>
#include <valarray>

#include "tests/optimizers/searchTrace.h"

namespace {

using Vector = std::valarray<double>;

double dot(const Vector& a, const Vector& b) {
  return std::inner_product(std::begin(a), std::end(a), std::begin(b), 0.0);
}

Vector normalised(const Vector& v) {
  const double most = v.size() == 0 ? 0.0 : std::abs(v).max();
  return most > 0.0 ? v / most : v;
}

double meanOf(const std::deque<double>& newestFirst, int count) {
  return std::accumulate(newestFirst.begin(), newestFirst.begin() + count, 0.0) / count;
}

/// The methods in one piece each, on the search's own gradient and line search.
struct NaiveMethods {
  RegGradientOptimizer& search;
  float maxStep, minStep, tolerance;
  int dim = search.transform->getVariableParamVectorDim();
  double value = 0.0;
  Vector g = {}, xi = {};  ///< gradient of the negated metric, direction and then move

  bool gradient(double& negated) {
    NmDVector<double> uphill;
    int penalised;
    const int usable =
        search.getDirection(std::min(minStep, maxStep), uphill, negated, penalised, nullptr);
    negated = -negated;
    g = -Vector(uphill.data, static_cast<std::size_t>(uphill.size));
    return usable != 0;
  }

  /// Returns the length reached.
  double line(double length) {
    NmDVector<double> point = search.transform->params, direction;
    direction.insert(0, static_cast<long>(xi.size()), std::begin(xi));
    search.linmin(point, direction, 0.0, dim, &value, &length);
    xi = Vector(direction.data, xi.size());
    return length;
  }

  void steepest() {
    std::deque<double> lengths(3, static_cast<double>(maxStep));
    for (int its = 0; its < 100 && gradient(value); ++its) {
      xi = -g;
      lengths.push_front(line(0.33333 * (lengths[0] + lengths[1] + lengths[2])));
      if (static_cast<double>(minStep) * 0.2 > lengths[0]) break;
    }
  }

  /// Conjugate gradients or quasi-Newton.
  void descend(bool conjugate) {
    const auto* const grid = dynamic_cast<RegNonAffineTransform*>(search.transform);
    const int restarts = conjugate ? std::max(1, 100 / std::max(1, dim)) : 10;
    std::deque<double> lengths(5, static_cast<double>(maxStep));
    float targets[] = {75, 80, 85, 90, 95, 97, 99, 100, 100, 100};
    auto tol = static_cast<double>(dim > 12 ? tolerance * 0.1f : tolerance);
    for (int restart = 0, total = 0; restart < restarts && (conjugate || total <= 99); ++restart) {
      double length = lengths[0], before, next;
      if (!gradient(before)) return;
      value = before;
      xi = -g;
      Vector h = xi;
      std::vector<std::pair<double, Vector>> terms;
      const auto times = [&](const Vector& v) {
        Vector product = v;
        for (const auto& [weight, term] : terms) product += weight * dot(v, term) * term;
        return product;
      };
      for (int its = 1; its <= (conjugate ? dim : 2 * dim); ++its, ++total) {
        lengths.push_front(line(length));
        if (grid != nullptr && grid->numBricks.x > 12 && total > 20) tol *= 1.359356390878526;
        const double scale = (std::abs(value) + std::abs(before) + 0.001) * tol;
        const double distance = 2.0 * std::abs(value - before);
        if (dim > 12 && !(distance > scale)) search.functional->evaluate();
        if (!(distance > scale)) return;
        const auto part = static_cast<float>(std::log(scale) - std::log(distance)) / 10.0f + 1.0f;
        if (dim > 12 && std::max(0.0f, part) * 100.0f >= targets[restart] &&
            !(restart == 0 && its < 5)) {
          search.functional->evaluate();
          lengths.pop_front();
          break;
        }
        const Vector old = g;
        const bool usable = gradient(next);
        before = conjugate ? next : std::exchange(value, next);
        if (!usable) return;
        length = meanOf(lengths, std::min(its, conjugate ? 5 : 3));
        if (conjugate) {
          h = h * (dot(g - old, g) / dot(old, old)) - g;
          xi = normalised(h);
        } else {
          const Vector dg = g - old, hdg = times(dg);
          const double fac = dot(dg, xi), fae = dot(dg, hdg);
          const Vector mixed = -1.0 / fae * hdg + 1.0 / fac * xi;
          terms.insert(terms.end(), {{1.0 / fac, xi}, {-1.0 / fae, hdg}, {fae, mixed}});
          xi = normalised(-times(g));
          if (!(dot(xi, g) < 0.0)) xi = -g;
          if (its > (restart == 0 ? 7 : 3)) targets[restart] -= 1.0f;
        }
      }
    }
  }
};

template <class Problem>
using Search = Searched<RegGradientOptimizer, Problem>;

template <class Problem, class Freedom>
void compareWithNaive(Height height, const Freedom& freedom, int method, float tolerance) {
  Search<Problem> run(height, freedom, nobody, tolerance, false);
  Search<Problem> twin(height, freedom, nobody, tolerance, false);
  run.search.method = method;
  run.roadOf(1.5f, 0.5f);
  NaiveMethods naive = {twin.search, 1.5f, 0.5f, tolerance};
  if (method == 0) naive.steepest();
  if (method != 0) naive.descend(method == 1);
  EXPECT_TRUE(sameValue(run.value, -naive.value)) << run.value << " " << -naive.value;
  EXPECT_EQ(run.metric->trials.size(), twin.metric->trials.size());
  EXPECT_TRUE(sameBits(run.metric->trials, twin.metric->trials, twin.metric->trials.size()));
}

TEST(RegGradientOptimizer, VisitsThePointsOfTheNaiveMethods) {
  for (const Landscape& landscape : landscapes)
    for (const int method : {0, 1, 2})
      for (const int dim : {0, 1, 2, 3, 12})
        for (const float tolerance : {1e-4f, -1.0f}) {
          SCOPED_TRACE(std::string(landscape.name) + ", " + std::to_string(dim) + ", method " +
                       std::to_string(method));
          compareWithNaive<AnalyticProblem>(landscape.height, dim, method, tolerance);
        }
}

/// Each vertex is drawn to a separate position, each coordinate at a different rate.
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
  compareWithNaive<GridProblem>(pull, NmVec3i(13, 1, 1), 2, 1e-6f);
  compareWithNaive<GridProblem>(pull, NmVec3i(2, 1, 1), 2, -1.0f);
  for (int i = 0; i < 16; ++i)
    compareWithNaive<GridProblem>(pull, NmVec3i(1 + i % 2, 1, 1), 2,
                                  0.2f * std::pow(0.4f, static_cast<float>(i)));
}

/// Replaces each number before a point, and every other digit, with 0.
std::vector<std::string> masked(std::vector<std::string> lines) {
  for (std::string& line : lines) {
    line = std::regex_replace(line, std::regex("-?\\d+(\\.| its)"), "0$1");
    line = std::regex_replace(line, std::regex("\\d"), "0");
  }
  return lines;
}

TEST(RegGradientOptimizer, LogsEveryStepOfTheQuasiNewtonSearch) {
  const std::string step = "Metric result 0.00000, step size 0.000, 0.000 sec.",
                    end = "quasiNewton: 0 its, 0.00 of 0.00 sec. for gradient calculation";
  Search<GridProblem> grid(pull, NmVec3i(2, 1, 1), nobody, 1e-4f, false);
  grid.roadOf(1.0f, 0.5f);
  std::vector<std::string> lines = masked(grid.log.lines);
  const auto steps = static_cast<std::size_t>(std::count(lines.begin(), lines.end(), step));
  ASSERT_EQ(lines.size(), steps + 3);
  EXPECT_EQ(lines[0], "Metric result 0.00000,                      0.000 sec.");
  EXPECT_EQ(lines[steps + 1], end);
  EXPECT_EQ(grid.log.lines[steps + 1].find("quasiNewton: " + std::to_string(steps) + " its"), 0u);
  EXPECT_EQ(lines.back(), "  0.000 sec. for computation and decomposition of Jacobians");
  Search<AnalyticProblem> restricted(hill, 3, nobody, 1e-4f, true);
  restricted.roadOf(1.5f, 0.5f);
  lines = masked(restricted.log.lines);
  EXPECT_EQ(lines[0], "Metric 0.00000,             rel.covrg 0.000, 0.000 sec.");
  EXPECT_EQ(lines[1], "Metric 0.00000, step 0.000, rel.covrg 0.000, 0.000 sec.");
  EXPECT_EQ(lines.back(), end);
  // A tolerance below 0 is never met, and where rise and fall differ, no gradient is zero.
  Search<AnalyticProblem> endless(
      [](const Point& p) { return p[0] - std::exp(p[0]) + p[1] - std::exp(2.0 * p[1]); }, 2, nobody,
      -1.0f, false);
  endless.roadOf(1.0f, 0.5f);
  EXPECT_EQ(endless.log.lines.size(), 1u + 10u * 4u + 1u);
  EXPECT_EQ(endless.log.lines.back(), "Warning: 10 restarts in quasi-Newton optimization.");
}

// Drawn to the middle of a small box, bricks fold; not before the fourth line is one frozen.
TEST(RegGradientOptimizer, FreezesOnAGridThatFolds) {
  Search<GridProblem> run(
      [](const Point& p) {
        double sum = 0.0;
        for (std::size_t i = 0; i < p.size(); ++i) {
          const auto k = static_cast<double>(i);
          const double x = p[i] - 2.0 - (i % 3 == 0 ? 3.0 * std::sin(k) : 0.0);
          sum -= (0.01 + k * k / 5000.0) * x * x;
        }
        return sum;
      },
      NmVec3i(3, 1, 1), nobody, 1e-5f, false);
  run.transform.makeIdentityTransform(NmBox3f(0, 4, 0, 4, 0, 4));
  run.roadOf(1.0f, 0.25f);
  ASSERT_GT(run.log.lines.size(), 5u);
  for (std::size_t i = 1; i < 4; ++i) EXPECT_EQ(run.log.lines[i].find("Metric"), 0u);
  EXPECT_EQ(run.log.lines[4].find("     freeze brick"), 0u);
}

TEST(RegGradientOptimizer, ScalesTheGradientToAStepOfTheSteepestParameter) {
  Search<AnalyticProblem> run([](const Point& p) { return p[0] - 4.0 * p[1] + p[3] + 9.0; }, 6,
                              nobody, 1e-4f, false);
  NmVec3d extent(4, 4, 4);
  const double step = run.transform.getParamStep(3, &extent);
  NmDVector<double> direction;
  double value;
  int penalised = 5;
  float seconds = 1.0f;
  for (const bool restricted : {false, true}) {
    const double rotation = step * (restricted ? 0.3 : 1.0), most = std::max(4.0, rotation);
    run.search.restrictedMotion = restricted;
    ASSERT_EQ(run.search.getDirection(0.5f, direction, value, penalised, &seconds), 1);
    ASSERT_EQ(direction.size, 6);
    const double expected[] = {1.0 / most, -4.0 / most, 0.0, step * rotation / most, 0.0, 0.0};
    for (long i = 0; i < 6; ++i) EXPECT_NEAR(direction[i], expected[i], 1e-5 * step) << i;
  }
  EXPECT_EQ(value, 9.0);
  EXPECT_EQ(penalised, 0);
  EXPECT_GE(seconds, 1.0f);
  Search<AnalyticProblem> flat([](const Point&) { return -2.5; }, 3, nobody, 1e-4f, false);
  EXPECT_EQ(flat.search.getDirection(0.5f, direction, value, penalised, nullptr), 0);
  EXPECT_TRUE(direction.size == 3 && direction[1] == 0.0);
  for (flat.search.method = 1; flat.search.method < 4; ++flat.search.method) {
    flat.roadOf(1.0f, 1.0f);
    EXPECT_TRUE(flat.value == 0.0 && std::signbit(flat.value));
  }
}

// The first line gains 1 from 3 to 4: 1 + ln(1e-4 * 7.001 / 2) / 10 is 0.204 of the second stage.
TEST(RegGradientOptimizer, ReportsTheWayToConvergence) {
  for (const int method : {1, 2}) {
    SearchWatcher watcher;
    Search<AnalyticProblem> run([](const Point& p) { return 4.0 - (p[0] - 1.0) * (p[0] - 1.0); }, 1,
                                &watcher, 1e-4f, false);
    run.search.method = method;
    run.search.stageNumber = run.search.numStages = 2;
    run.roadOf(1.5f, 0.5f);
    watcher.values.resize(2);
    EXPECT_EQ(watcher.values, (std::vector<int>{50, 60}));
  }
}

}  // namespace
