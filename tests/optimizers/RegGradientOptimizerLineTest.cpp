#include "optimizers/RegGradientOptimizer.h"
#include "tests/optimizers/searchTrace.h"

namespace {

using Line = std::function<double(double)>;

/// A search along the first parameter of a landscape, and what it needs to be called.
struct LineProblem : Searched<RegGradientOptimizer> {
  SearchWatcher watcher;
  NmDVector<double> point, direction;
  double length = 0.0, minimum = 0.0;

  explicit LineProblem(const Line& height)
      : Searched([height](const Point& p) { return height(p[0]); }, 1, &watcher, 0.001f, false) {
    point.resize(1);
    point[0] = 0.0;
    direction.resize(1);
    direction[0] = 1.0;
  }

  Point positionsFrom(double firstStep, double maxMove = 0.0) {
    length = firstStep;
    search.linmin(point, direction, maxMove, 1, &minimum, &length);
    return road();
  }
};

// Every position is asked for once, but for the one from which Brent's method starts; a poll
// follows each, and one the bracket.
void expectRoad(double firstStep, const Line& height, const Point& positions) {
  LineProblem line(height);
  expectNear(line.positionsFrom(firstStep), positions, 1e-9);
  const double x = line.point[0];
  for (const double other : positions) EXPECT_GE(height(x) + 1e-8, height(other));
  EXPECT_EQ(line.minimum, -height(x));
  EXPECT_EQ(line.direction[0], x);
  EXPECT_EQ(line.transform.params[0], x);
  EXPECT_EQ(line.length, std::abs(x));
  EXPECT_EQ(line.watcher.polls, static_cast<int>(positions.size()) + 2);
}

double dip(double x, double depth) {
  return x > 1.5 && x < 2.5 ? depth : std::min({x, 1.1, 3.8 - x});
}

// The positions follow from the textbook's formulas. Ahead stands how the bracket is found.
TEST(RegGradientOptimizerLine, VisitsThePointsOfTheTextbook) {
  // A parabola leads beyond c and gains, also where its denominator is small.
  for (const double scale : {1.0, 1e-12})
    expectRoad(1, [scale](double x) { return -scale * (x - 3) * (x - 3); },
               {0, 1, 2.618034, 3, 3.618033975, 3.236067965, 2.854101975, 3.03, 2.97});
  // It loses.
  expectRoad(1, [](double x) { return x > 2.2 ? 3 - x : -std::abs(x - 2); },
             {0, 1, 2.618034, 9.472135201, 5.236067619, 3.618033829, 2.000000025, 2.59185366,
              2.422051003, 2.260841879, 2.161209159, 2.322418283, 2.222785568, 2.199265473});
  // It stays short of c, is the best point, the worst point, or as good as b.
  expectRoad(1, [](double x) { return 0.3 * std::cos(3 * x) - std::pow(std::abs(x - 1.7), 1.5); },
             {0, 1, 2.618034, 1.811382681, 1.501462084, 2.119496059, 1.872300729, 1.853577722,
              1.835041945});
  expectRoad(1, [](double x) { return dip(x, 0.5); },
             {0, 1, 2.618034, 1.895248073, 0.618034, 1.341954325, 1.320575713, 1.307369956,
              1.189965083, 1.11740488, 1.072560208, 1.145120411, 1.162249551, 1.173872046});
  expectRoad(
      1, [](double x) { return dip(x, 1.0); },
      {0, 1, 2.618034, 1.895248073, 5.236068025, 3.618033984, 2.000000025, 2.430240541, 2.999999994,
       2.763932023, 2.59185366, 2.565935123, 2.514104406, 2.482071261, 2.539245451});
  // It leads beyond the limit of 100 steps, or back.
  expectRoad(1, [](double x) { return -std::abs(x - 70); },
             {0, 1, 2.618034, 162.8034, 63.80339751, 101.6180325, 62.81129896, 74.91039835,
              85.11180652, 70.14919168, 69.44769977, 70.8506836});
  expectRoad(0.3, [](double x) { return -(x - 2) * (x - 2) + std::cos(5 * x); },
             {0, 0.3, 0.7854102, 1.570820408, 2.841640827, 2.0562306, 1.270820412, 1.085410215,
              1.327832136, 1.312660687, 1.29953408});
  // The way is the other one.
  expectRoad(1, [](double x) { return -std::cosh(x + 2); },
             {0, 1, -1.618034, -1.277350047, -4.236068025, -2.618033984, -1.000000025, -2.00500699,
              -1.98495692, -2.02505706});
  expectRoad(8, [](double x) { return -std::pow(std::abs(x + 2.2), 1.5) - 0.6 * std::cos(3 * x); },
             {0, 8, -12.944272, -4.944271799, 3.055728, -2.377421256, -2.420039225, -3.384210244,
              -2.723116305, -2.975631712, -2.908980973, -2.879891164, -2.851092252});
  // The first three points are a bracket.
  expectRoad(1, [](double x) { return x > 2 ? -1000 : x; },
             {0, 1, 2.618034, 1.618033975, 1.999999984, 2.236067965, 1.854101956, 2.090169927,
              1.944271898, 2.034441837, 1.97871375});
  LineProblem degenerate([](double x) { return x; });
  EXPECT_EQ(degenerate.positionsFrom(0.0), Point{0.0});
}

TEST(RegGradientOptimizerLine, TakesTheValueOfAKnownPositionButMoves) {
  LineProblem line([](double x) { return x; });
  EXPECT_EQ(line.search.f1dim(1, line.point, line.direction, 2.0), -2.0);
  EXPECT_EQ(line.search.f1dim(1, line.point, line.direction, 2.0 + 5e-7), -2.0);
  EXPECT_EQ(line.transform.params[0], 2.0 + 5e-7);
  EXPECT_EQ(line.search.f1dim(1, line.point, line.direction, 2.0 + 2e-6, 0), -(2.0 + 2e-6));
  EXPECT_EQ(line.search.f1dim(9, line.point, line.direction, 2.0 + 1.2e-6), -(2.0 + 2e-6));
  EXPECT_EQ(line.metric->trials.size(), 2u);
}

// At the limit of 3.6 the metric is worse than at the start, at half of it equal; where it is worse
// all the way, the search gives up at a thousandth of the limit.
TEST(RegGradientOptimizerLine, LimitsAMoveAndFallsBackTowardTheStart) {
  LineProblem line([](double x) {
    return x > 2.0 && x < 4.5 ? -20.0 : x == 1.8 ? -10.0 : -std::abs(x - 10.0);
  });
  line.positionsFrom(6.0, 3.6);
  EXPECT_EQ(line.length, 1.8);
  EXPECT_EQ(line.minimum, 10.0);
  EXPECT_EQ(line.transform.params[0], 1.8);
  LineProblem fenced([](double x) { return x <= 0.0 ? 5.0 : x < 7.0 ? -x : 20.0 - x; });
  fenced.positionsFrom(8.0, 1.0);
  EXPECT_EQ(fenced.length, std::ldexp(1.0, -10));
}

// Interrupted or not.
TEST(RegGradientOptimizerLine, StaysWhereItWasOnALineThatRisesForEver) {
  bool isStopped = true;
  for (long limit = 0; isStopped; ++limit) {
    LineProblem line([=](double x) { return 3.0 - x; });
    line.watcher.limit = limit;
    line.positionsFrom(-1.0);
    isStopped = line.watcher.polls > limit;
    EXPECT_TRUE(std::isfinite(line.transform.params[0])) << limit;
    if (isStopped) continue;
    EXPECT_EQ(line.transform.params[0], 0.0);
    EXPECT_EQ(line.point[0], 0.0);
    EXPECT_EQ(line.direction[0], 0.0);
    EXPECT_EQ(line.minimum, -3.0);
    EXPECT_EQ(line.length, 0.0);
  }
}

/// Asks to stop once only.
class BriefWatcher : public SearchWatcher {
 public:
  bool wasInterrupted() override { return ++polls == limit; }
};

// The third trial is interrupted before there is a bracket.
TEST(RegGradientOptimizerLine, RemembersAnInterruptionThatIsTakenBack) {
  LineProblem line([](double x) { return -(x - 3.0) * (x - 3.0); });
  BriefWatcher watcher;
  watcher.limit = 3;
  line.search.callback = &watcher;
  EXPECT_EQ(line.positionsFrom(1.0).size(), 3u);
  EXPECT_EQ(watcher.polls, 3);
}

TEST(RegGradientOptimizerLine, EveryOperationWithoutAFunctionalSaysSo) {
  LineProblem line([](double) { return 1.0; });
  RegGradientOptimizer& search = line.search;
  search.setFunctional(nullptr);
  double a = 0, b = 1, c = 2, fa = 3, fb = 4, fc = 5;
  int count = 7;
  EXPECT_EQ(search.getDirection(1.0f, line.direction, a, count, nullptr), 0);
  EXPECT_EQ(a, -1000.0);
  search.linmin(line.point, line.direction, 0.0, 1, &fa, &b);
  EXPECT_EQ(search.f1dim(1, line.point, line.direction, 1.0), 1000.0);
  search.mnbrak(1, line.point, line.direction, &a, &b, &c, &fa, &fb, &fc);
  EXPECT_EQ(search.brent(1, line.point, line.direction, 0, 1, 2, 0.01, &c), 1000.0);
  EXPECT_EQ(search.steepestDescent(1.0f, 1.0f), 1000.0);
  search.conjugateGradients(1.0f, 1.0f, 0.1f, &fb, &count);
  search.quasiNewton(1.0f, 1.0f, 0.1f, &fb, &count);
  EXPECT_EQ(fb, 4.0);
  EXPECT_EQ(line.log.errors.size(), 8u);
}

}  // namespace
