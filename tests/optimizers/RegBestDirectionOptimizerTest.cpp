#include "optimizers/RegBestDirectionOptimizer.h"

#include "tests/optimizers/searchTrace.h"

namespace {

using Search = Searched<RegBestDirectionOptimizer>;

/// `progress` tells how many passes were counted beforehand. The factor that falls goes 0.5, 0.4,
/// 0.3, 0.2, a hair above 0.1, that hair.
const struct {
  float maxStep, minStep;
  bool fit;
  int levelNumber, numLevels, maxLineMoves;
  Point steps;
  std::vector<int> progress;
} schedules[] = {
    {4, 1, true, 2, 4, 6, {4, 2, 1}, {0, 33, 67}},
    {1, 2, true, 2, 4, 6, {}, {}},
    {2, 1e-5f, false, 3, 3, 2, {2, 1, .4, .12, .024, .0024, 1e-5}, {0, 14, 29, 43, 57, 71, 100}},
    {4, 0.5f, false, 1, 4, 8, {4, 2, 0.5}, {0, 20, 100}},
    {1, 0.3f, false, 1, 1, 8, {1, 0.3}, {0, 100}},
    {1, 2, false, 2, 3, 5, {2}, {100}},
};

// On flat ground a pass is one gradient.
TEST(RegBestDirectionOptimizer, TakesTheStepsOfTheLevel) {
  for (const auto& schedule : schedules) {
    SearchWatcher watcher;
    Search run([](const Point&) { return 1.0; }, 1, &watcher, 0.5f, 1e-8f, schedule.fit);
    run.search.levelNumber = schedule.levelNumber;
    run.search.numLevels = schedule.numLevels;
    Point expected;
    for (const double step : schedule.steps) expected.insert(expected.end(), {0.0, step, -step});
    expectNear(run.roadOf(schedule.maxStep, schedule.minStep), expected, 3e-6);
    EXPECT_EQ(run.value, schedule.steps.empty() ? 0.0 : 1.0);
    EXPECT_EQ(watcher.values, schedule.progress);
    EXPECT_EQ(run.search.maxLineMoves, schedule.maxLineMoves);
    EXPECT_EQ(run.search.relativeTolerance, 1e-8f * 10.0f);
  }
}

double ties(const Point& p) {
  for (const double top : {1.6667, 0.3333, -0.3334})
    if (std::abs(p[0] - top) < 0.01) return 5.0;
  return std::abs(p[0]) < 0.01 ? 0.0 : std::abs(p[0] - 1.0) < 0.01 ? 1.0 : -9.0;
}

void expectRoad(const Height& height, float maxStep, float minStep, float tolerance, double value,
                const Point& road) {
  Search run(height, 1, nobody, 0.5f, tolerance, true);
  run.search.levelNumber = run.search.numLevels = 3;
  expectNear(run.roadOf(maxStep, minStep), road, 3e-6);
  expectNear({run.value}, {value}, 3e-6);
  EXPECT_EQ(run.search.relativeTolerance, value == unevaluated ? tolerance : tolerance * 10.0f);
}

TEST(RegBestDirectionOptimizer, WalksAndRefinesPointByPoint) {
  // The walk passes the top by one move, which comes back. The two refinements shrink, each by
  // 0.6667, and the second gradient is zero.
  expectRoad([](const Point& p) { return 9 - (p[0] - 4) * (p[0] - 4); }, 2, 1, 1e-8f, 9.0,
             {0, 2, -2, 2, 4, 6, 5.3334, 2.6666, 4.88897778, 3.11102222, 4, 6, 2, 4, 5, 3});
  // One move more than the bound of 2 in each pass. A refinement that gains keeps its length.
  expectRoad(
      [](const Point& p) { return -(p[0] - 64) * (p[0] - 64); }, 2, 1, 1e-8f, -2208.9624,
      {0,       2,       -2,      2,       4,       6,       8,       7.3334,  4.6666, 8.6668,
       6.0,     8.6668,  10.6668, 6.6668,  10.6668, 10.0002, 7.3334,  11.3336, 8.6668, 11.3336,
       12.3336, 10.3336, 12.3336, 13.3336, 14.3336, 15.3336, 15.0003, 13.6669, 15.667, 14.3336,
       15.667,  16.667,  14.667,  16.667,  16.3337, 15.0003, 17.0004, 15.667});
  // Of equal gains the refinement takes minus, and a tie with where it stands gains nothing.
  expectRoad(ties, 1, 0.5f, 1e-8f, 5.0,
             {0, 1, -1, 1, 2, 1.6667, 0.3333, 1, -0.3334, 0.3333, 1.3333, -0.6667, 0.3333, 0.8333,
              -0.1667});
  // The tolerance of a gain from 0 is relative to 0.001 more.
  expectRoad([](const Point& p) { return 0.0005 * p[0]; }, 1, 1, 0.8f, 0.00033335,
             {0, 1, -1, 1, 0.6667, -0.6667});
  expectRoad([](const Point&) { return unevaluated; }, 1, 0.5f, 0.8f, unevaluated, {0, 1, -1});
  // The move is scaled in single precision.
  Search steep([](const Point& p) { return 3.0 * p[0]; }, 1, nobody, 0.5f, 0.8f, true);
  EXPECT_EQ(steep.roadOf(1.0f, 1.0f)[3], static_cast<double>(1.0f / 6.0f) * 6.0);
}

}  // namespace
