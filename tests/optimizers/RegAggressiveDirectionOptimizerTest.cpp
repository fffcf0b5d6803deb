#include "optimizers/RegAggressiveDirectionOptimizer.h"

#include "optimizers/relativeCoverage.h"
#include "tests/optimizers/searchTrace.h"

namespace {

using Search = Searched<RegAggressiveDirectionOptimizer>;

/// The height at some points of the first two parameters, as triples; elsewhere it is -9.
Height places(const Point& triples) {
  return [triples](const Point& p) {
    for (std::size_t i = 0; i < triples.size(); i += 3)
      if (p[0] == triples[i] && p[1] == triples[i + 1]) return triples[i + 2];
    return -9.0;
  };
}

double peak(const Point& p) {
  return -(p[0] - 4) * (p[0] - 4) - (p[1] + 3) * (p[1] + 3);
}

double halfway(const Point& p) {
  return -(p[0] - 0.5) * (p[0] - 0.5);
}

void expectRoad(const Height& height, int dim, float maxStep, float minStep, float increment,
                int refineAllPasses, double value, const Point& road) {
  Search run(height, dim, nobody, 0.5f, increment, 3, false);
  run.search.refineAllPasses = refineAllPasses;
  EXPECT_EQ(run.roadOf(maxStep, minStep), road);
  EXPECT_EQ(run.value, value);
}

TEST(RegAggressiveDirectionOptimizer, WalksAndRefinesPointByPoint) {
  // The differences of 32 and -24 lead straight to the top. The third threshold, in single
  // precision, is the larger one itself, which stays; walking along it alone gains nothing.
  expectRoad(peak, 2, 2, 1, 1.0f / 3.0f, 0, 0.0,
             {0, 0,    2, 0,  -2, 0,    0,   2,     0,   -2,  //
              2, -1.5, 4, -3, 6,  -4.5, 5,   -3.75, 3,   -2.25, 4.5, -3.375, 3.5, -2.625,
              6, -3,   5, -3, 3,  -3,   4.5, -3,    3.5, -3,    6,   -3,     2,   -3,
              4, -1,   4, -5, 5,  -3,   3,   -3,    4,   -2,    4,   -4});
  // Ties along the way, at the end of the walk, in the refinement and at a smaller step, gain
  // nothing. Of two gains the refinement takes plus, though minus is larger.
  expectRoad(places({0, 0,   0, 1, 0,    1, -1,  0,     -1, 2,   0,    1, 1.5, 0,
                     2, 0.5, 0, 3, 1.25, 0, 2.5, 1.125, 0,  2.5, 0.75, 0, 2.5}),
             1, 1, 0.25f, 0.1f, 0, 2.5,
             {0, 1, -1, 1, 2, 1.5, 0.5, 1.75, 1.25, 1.375, 1.125, 2.25, 0.25, 1.75, 0.75, 1.5, 1});
  // The refinement begins with the step of the pass, or with the first one.
  expectRoad(halfway, 1, 1, 0.5f, 0.1f, 0, 0.0, {0, 1, -1, 0.5, -0.5, 0.5, 1, 0.75, 0.25, 1, 0});
  expectRoad(halfway, 1, 1, 0.5f, 0.1f, 1, 0.0,
             {0, 1, -1, 0.5, -0.5, 0.5, 1, 0.75, 0.25, 0.625, 0.375, 1, 0});
  // The first sweep's best is a plus trial, which leaves the point of the minus trial; the second's
  // is a minus trial, to which its only walk does not lead.
  expectRoad(places({0, 0, 0, 1, 0, 5, 0, 1, 5, -2, 0, 6, -1, -1, 7}), 2, 1, 1, 0.0f, 0, 7.0,
             {0,       0,    1,       0,   -1, 0,  0,  1,  0,  -1, 1,  1,      0.5,
              0.5,     -0.5, -0.5,    0,   0,  -2, 0,  -1, 1,  -1, -1, -1.375, -1,
              -1.1875, -0.5, -0.8125, 0.5, 0,  -1, -2, -1, -1, 0,  -1, -2});
  expectRoad(places({0, 0, 0, 1, 0, 5, -1, 0, unevaluated}), 1, 1, 1, 0.1f, 0, 0.0, {0, 1, -1});
  expectRoad(places({0, 0, 0, -1, 0, 5, 1, 0, unevaluated}), 1, 1, 1, 0.1f, 0, 0.0, {0, 1, -1});
  // An infinite difference gives no direction.
  expectRoad(places({0, 0, 0, 1, 0, HUGE_VAL}), 1, 1, 1, 0.1f, 0, HUGE_VAL, {0, 1, -1, 0, -2});
}

TEST(RegAggressiveDirectionOptimizer, SuppressesRotationsAndLeavesThePlane) {
  const double factors[] = {1.0, 1.0, 0.0, 0.0, 0.0, 0.2, 1.0};
  Search run([](const Point&) { return 0.0; }, 12, nobody, 0.5f, 0.1f, 3, true);
  run.transform.params[0] = 0.1;
  const std::vector<Point>& trials = run.metric->trials;
  run.roadOf(2.0f, 2.0f);
  ASSERT_EQ(trials.size(), 25u);
  NmVec3d extent(4, 4, 4);
  for (std::size_t i = 0; i < 7; ++i) {
    const double step = run.transform.getParamStep(static_cast<int>(i), &extent);
    EXPECT_EQ(trials[1 + 2 * i][i], trials[0][i] + step * factors[i] * 2.0);
  }
  EXPECT_EQ(trials[2][0], static_cast<double>(0.1f) - 2.0);
  EXPECT_EQ(trials[3][0], static_cast<double>(0.1f));
  run.search.planeMode = 4;
  run.roadOf(2.0f, 2.0f);
  EXPECT_EQ(trials.size(), 1u + 2u * 7u);
}

// A quarter of 1, 34 and 67 per cent, and the half stage before it that is not scaled.
TEST(RegAggressiveDirectionOptimizer, ReportsItsShareUnscaledAndLogsEachPass) {
  SearchWatcher watcher;
  Search run([](const Point&) { return 0.25; }, 3, &watcher, 0.5f, 0.1f, 3, false);
  run.search.stageNumber = 3;
  run.search.numStages = 4;
  run.roadOf(4.0f, 1.0f);
  EXPECT_EQ(watcher.values, (std::vector<int>{1, 1, 9, 17}));
  EXPECT_EQ(watcher.polls, 1 + 3 * (6 + 1));
  run.search.restrictedMotion = true;
  run.roadOf(1.0f, 1.0f);
  const std::string start = " initial Metric value: 0.25000", pass = "Metric 0.25000";
  EXPECT_EQ(run.log.lines,
            (std::vector<std::string>{start, pass, pass, pass, start, pass + ", rel.covrg 1.000"}));
  run.metric->numSamples = 1;
  run.metric->numTotalSamples = 4;
  for (const double minimum : {0.1, 0.5}) {
    run.metric->minCoverage = minimum;
    EXPECT_EQ(voxreg::detail::relativeCoverage(run.functional), minimum > 0.25 ? 0.5 : 1.0);
  }
  // Stopped at the first move of a walk, it gives the value of the point that it has reached.
  AnalyticProblem roof([](const Point& p) { return -std::abs(p[0] - 4.0); }, 1);
  run.search.setFunctional(&roof.functional);
  watcher.limit = watcher.polls + 3;
  EXPECT_EQ(run.search.optimize(1.0f, 1.0f), -3.0);
  EXPECT_EQ(roof.transform.params[0], 1.0);
}

}  // namespace
