#include "optimizers/RegBestNeighbourOptimizer.h"

#include <set>

#include "tests/optimizers/searchTrace.h"

namespace {

using Search = Searched<RegBestNeighbourOptimizer>;

// At step 2 from 0 to 2 and no further, for 4 is a tie; at step 1 to 3 and no further. The second
// run takes two steps of the fitted factor of 0.3.
TEST(RegBestNeighbourOptimizer, WalksByStepsAndReducesThem) {
  Search run([](const Point& p) { return -(p[0] - 3.0) * (p[0] - 3.0); }, 1, nobody, 0.5f, 3);
  EXPECT_EQ(run.roadOf(2.0f, 1.0f), (Point{0, 2, -2, 4, 0, 3, 1, 4, 2}));
  EXPECT_EQ(run.value, 0.0);
  EXPECT_EQ(run.transform.params[0], 3.0);
  const Point road = run.roadOf(1.0f, 0.3f);
  ASSERT_EQ(road.size(), 5u);
  EXPECT_FLOAT_EQ(static_cast<float>(road[3]), 3.3f);
}

// The gain along x, found first, does not enter the trial along y; y wins the sweep.
TEST(RegBestNeighbourOptimizer, TakesTheSingleBestNeighbourOfOnePoint) {
  Search run([](const Point& p) { return -std::abs(p[0] - 1.0) - 2.0 * std::abs(p[1] - 1.0); }, 2,
             nobody, 0.5f, 3);
  EXPECT_EQ(run.roadOf(1.0f, 1.0f), (Point{0, 0, 1,  0, -1, 0, 0, 1, 0, -1,  //
                                           1, 1, -1, 1, 0,  2, 0, 0, 2, 1,  0, 1, 1, 2, 1, 0}));
}

// A landscape without slope moves nothing, but each parameter that is tried is rounded to float
// between the trial up and the trial down, and stays so.
TEST(RegBestNeighbourOptimizer, RoundsEveryParameterThatThePlaneModeAdmits) {
  const std::set<int> leftOut[] = {
      {0, 4, 5, 6, 9, 10}, {1, 3, 5, 7, 9, 11}, {2, 3, 4, 8, 10, 11}, {}, {3, 4, 8, 10, 11}, {}};
  for (int mode = 0; mode < 6; ++mode) {
    Search run([](const Point&) { return 0.0; }, 12, nobody, 0.5f, mode);
    for (int i = 0; i < 12; ++i) run.transform.params[i] = 0.1;
    run.roadOf(2.0f, 2.0f);
    for (int i = 0; i < 12; ++i)
      EXPECT_EQ(run.transform.params[i], leftOut[mode].count(i) ? 0.1 : static_cast<double>(0.1f))
          << "mode " << mode << ", parameter " << i;
    const std::vector<Point>& trials = run.metric->trials;
    ASSERT_EQ(trials.size(), 1u + 2u * (12u - leftOut[mode].size()));
    if (mode != 3) continue;
    EXPECT_EQ(trials[1][0], 0.1 + 2.0);
    EXPECT_EQ(trials[2][0], static_cast<double>(0.1f) - 2.0);
    // The volume is 4 units wide: 1080 / (pi * sqrt(32)) degrees, and 4 / 4 for a scale.
    EXPECT_NEAR(trials[7][3], 0.1 + 2.0 * 1080.0 / (3.141592653589793 * std::sqrt(32.0)), 1e-12);
    EXPECT_EQ(trials[13][6], 0.1 + 2.0);
  }
}

void expectEnd(const Height& height, int dim, float maxStep, float minStep, double best,
               std::size_t trials) {
  AnalyticProblem problem(height, dim);
  RegBestNeighbourOptimizer search(nobody, 0.5f, 3);
  search.setFunctional(&problem.functional);
  EXPECT_TRUE(sameValue(search.optimize(maxStep, minStep), best));
  EXPECT_EQ(problem.metric->trials.size(), trials);
}

TEST(RegBestNeighbourOptimizer, ComparesAndCountsAtTheEdges) {
  expectEnd([](const Point& p) { return 7.0 + p[0]; }, 3, 1, 2, 7.0, 1);
  expectEnd([](const Point& p) { return p[0] > 0.5 ? -5.0 : -1000.0; }, 3, 1, 1, -5.0, 13);
  expectEnd([](const Point& p) { return p[0] == 0.0 ? 1.0 : NAN; }, 3, 1, 1, 1.0, 7);
  expectEnd([](const Point&) { return NAN; }, 3, 4, 1, NAN, 19);
  for (const int dim : {0, -3, 1000})
    expectEnd([](const Point&) { return 1.0; }, dim, 1, 1, 1.0, dim > 0 ? 31 : 1);
}

}  // namespace
