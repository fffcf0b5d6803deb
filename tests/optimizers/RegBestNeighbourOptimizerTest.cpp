#include "optimizers/RegBestNeighbourOptimizer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <set>
#include <string>

#include "foundation/NmLogFile.h"
#include "tests/optimizers/analyticFunctional.h"

namespace {

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

double square(double x) {
  return x * x;
}

struct SearchRun {
  double best;
  std::vector<Point> trials;
};

SearchRun search(AnalyticProblem& problem, float maxStep, float minStep, int planeMode = 3) {
  RegBestNeighbourOptimizer optimizer(nullptr, 0.5f, planeMode);
  optimizer.setFunctional(&problem.functional);
  const double best = optimizer.optimize(maxStep, minStep);
  return {best, problem.metric->trials};
}

TEST(RegBestNeighbourOptimizer, WalksByStepsAndHalvesThem) {
  AnalyticProblem problem([](const Point& p) { return -square(p[0] - 3.0); });
  const SearchRun run = search(problem, 2.0f, 1.0f);
  EXPECT_EQ(run.best, 0.0);
  EXPECT_EQ(problem.transform.params[0], 3.0);
  // At step 2 from 0 to 2 and no further, for 4 is a tie; at step 1 to 3 and no further.
  ASSERT_EQ(run.trials.size(), 1u + 4u * 6u);
  const double alongX[] = {2.0, -2.0, 4.0, 0.0, 3.0, 1.0, 4.0, 2.0};
  for (std::size_t i = 0; i < 8; ++i) {
    const std::size_t sweep = i / 2;
    EXPECT_EQ(run.trials[1 + sweep * 6 + i % 2][0], alongX[i]) << i;
  }
}

TEST(RegBestNeighbourOptimizer, TakesTheSingleBestNeighbourOfOnePoint) {
  AnalyticProblem problem(
      [](const Point& p) { return -std::abs(p[0] - 1.0) - 2.0 * std::abs(p[1] - 1.0); });
  const SearchRun run = search(problem, 1.0f, 1.0f);
  EXPECT_EQ(run.best, 0.0);
  // The gain along x, found first, does not enter the trial along y; y wins the sweep.
  EXPECT_EQ(Point(run.trials[3].begin(), run.trials[3].begin() + 3), (Point{0.0, 1.0, 0.0}));
  EXPECT_EQ(Point(run.trials[7].begin(), run.trials[7].begin() + 3), (Point{1.0, 1.0, 0.0}));
  EXPECT_EQ(run.trials.size(), 1u + 3u * 6u);
}

// A landscape without slope moves nothing, but each parameter that is tried is rounded to float
// between the trial up and the trial down, and stays so.
TEST(RegBestNeighbourOptimizer, RoundsEveryParameterThatThePlaneModeAdmits) {
  const std::set<int> leftOut[] = {
      {0, 4, 5, 6, 9, 10}, {1, 3, 5, 7, 9, 11}, {2, 3, 4, 8, 10, 11}, {}, {3, 4, 8, 10, 11}, {}};
  for (int mode = 0; mode < 6; ++mode) {
    AnalyticProblem problem([](const Point&) { return 0.0; }, 12);
    for (int i = 0; i < 12; ++i) problem.transform.params[i] = 0.1;
    const SearchRun run = search(problem, 1.0f, 1.0f, mode);
    for (int i = 0; i < 12; ++i) {
      const bool out = leftOut[mode].count(i) != 0;
      EXPECT_EQ(problem.transform.params[i], out ? 0.1 : static_cast<double>(0.1f))
          << "mode " << mode << ", parameter " << i;
    }
    EXPECT_EQ(run.trials.size(), 1u + 2u * (12u - leftOut[mode].size()));
  }
  AnalyticProblem problem([](const Point&) { return 0.0; });
  problem.transform.params[0] = 0.1;
  const SearchRun run = search(problem, 1.0f, 1.0f);
  EXPECT_EQ(run.trials[1][0], 0.1 + 1.0);
  EXPECT_EQ(run.trials[2][0], static_cast<double>(0.1f) - 1.0);
}

TEST(RegBestNeighbourOptimizer, ScalesTheStepByTheParametersOwn) {
  AnalyticProblem problem([](const Point&) { return 0.0; }, 12);
  const SearchRun run = search(problem, 2.0f, 2.0f);
  // The volume is 4 units wide: 1080 / (pi * sqrt(32)) degrees, and 4 / 4 for a scale.
  EXPECT_NEAR(run.trials[1 + 2 * 3][3], 2.0 * 1080.0 / (3.141592653589793 * std::sqrt(32.0)),
              1e-12);
  EXPECT_EQ(run.trials[1 + 2 * 6][6], 1.0 + 2.0 * 1.0);
}

TEST(RegBestNeighbourOptimizer, AnEmptyStepRangeEvaluatesOnceAndTouchesNothing) {
  AnalyticProblem problem([](const Point& p) { return 7.0 + p[0]; });
  problem.transform.params[0] = 0.1;
  const SearchRun run = search(problem, 1.0f, 2.0f);
  EXPECT_EQ(run.best, 7.1);
  EXPECT_EQ(run.trials.size(), 1u);
  EXPECT_EQ(problem.transform.params[0], 0.1);
}

TEST(RegBestNeighbourOptimizer, ANumberBeatsTheSentinelAndNotANumberBeatsNothing) {
  AnalyticProblem blind([](const Point& p) { return p[0] > 0.5 ? -5.0 : -1000.0; });
  EXPECT_EQ(search(blind, 1.0f, 1.0f).best, -5.0);
  AnalyticProblem spoilt([](const Point& p) { return p[0] == 0.0 ? 1.0 : notANumber; });
  EXPECT_EQ(search(spoilt, 1.0f, 1.0f).best, 1.0);
  EXPECT_EQ(spoilt.transform.params[0], 0.0);
  AnalyticProblem nothing([](const Point&) { return notANumber; });
  const SearchRun run = search(nothing, 4.0f, 1.0f);
  EXPECT_TRUE(std::isnan(run.best));
  EXPECT_EQ(run.trials.size(), 1u + 3u * 6u);
}

TEST(RegBestNeighbourOptimizer, SearchesNoFurtherThanTheVectorReaches) {
  AnalyticProblem none([](const Point&) { return 1.0; }, 0);
  EXPECT_EQ(search(none, 1.0f, 1.0f).trials.size(), 1u);
  AnalyticProblem negative([](const Point&) { return 1.0; }, -3);
  EXPECT_EQ(search(negative, 1.0f, 1.0f).trials.size(), 1u);
  AnalyticProblem many([](const Point&) { return 1.0; }, 1000);
  EXPECT_EQ(search(many, 1.0f, 1.0f).trials.size(), 1u + 2u * 15u);
}

TEST(RegBestNeighbourOptimizer, WithoutAFunctionalSaysSo) {
  std::vector<std::string> errors;
  const auto before = getTheLogInstance().setSink([&](bool isError, const std::string& line) {
    if (isError) errors.push_back(line);
  });
  AnalyticProblem problem([](const Point&) { return 1.0; });
  RegBestNeighbourOptimizer optimizer(nullptr, 0.5f, 3);
  EXPECT_EQ(optimizer.stageNumber, 1);
  EXPECT_EQ(optimizer.numStages, 1);
  EXPECT_EQ(optimizer.optimize(1.0f, 1.0f), -1000.0);
  optimizer.setFunctional(&problem.functional);
  EXPECT_EQ(optimizer.optimize(1.0f, 1.0f), 1.0);
  problem.functional.transform = nullptr;
  optimizer.setFunctional(&problem.functional);
  EXPECT_EQ(optimizer.optimize(1.0f, 1.0f), -1000.0);
  optimizer.setFunctional(nullptr);
  EXPECT_EQ(optimizer.transform, nullptr);
  EXPECT_EQ(optimizer.optimize(1.0f, 1.0f), -1000.0);
  getTheLogInstance().setSink(before);
  EXPECT_EQ(errors.size(), 3u);
}

}  // namespace
