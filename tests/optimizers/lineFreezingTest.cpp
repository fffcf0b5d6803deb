#include "optimizers/lineFreezing.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <set>

#include "optimizers/RegGradientOptimizer.h"
#include "tests/optimizers/analyticFunctional.h"
#include "tests/support/LogCapture.h"

namespace {

using voxreg::detail::LineFreezing;
using voxreg::detail::SearchLine;

/// How far each coordinate of a 2 x 1 x 1 grid has come from the identity.
Point shiftsOf(const Point& vertices) {
  Point shifts = vertices;
  for (double& x : shifts) x -= 500.0 * std::round(x / 500.0);
  return shifts;
}

/// Two units from the identity are best for every coordinate, but those that are fenced must not
/// move at all.
std::function<double(const Point&)> fencing(const std::set<std::size_t>& fenced) {
  return [fenced](const Point& vertices) {
    double value = 0.0;
    const Point shifts = shiftsOf(vertices);
    for (std::size_t i = 0; i < shifts.size(); ++i) {
      if (fenced.count(i) != 0 && std::abs(shifts[i]) > 1e-6) return -1000.0;
      if (fenced.count(i) == 0) value -= (shifts[i] - 2.0) * (shifts[i] - 2.0);
    }
    return value;
  };
}

/// One line search along all coordinates, which are freed equally, with what freezing adds to it.
struct FreezingRun {
  GridProblem problem;
  RegGradientOptimizer search{nullptr, 0.001f, false};
  NmDVector<double> gradient;
  SearchLine line;
  double lengthBefore = 0.0;

  explicit FreezingRun(std::function<double(const Point&)> landscape)
      : problem(NmVec3i(2, 1, 1), std::move(landscape)) {
    search.setFunctional(&problem.functional);
    gradient.resize(36);
    std::fill_n(gradient.data, 36, -1.0);
  }

  void run(int worstBrick, int numPenalised) {
    problem.functional.maxShapePenalty = problem.functional.maxJacobianPenalty = 7.0;
    problem.functional.maxOtherPenalty = 7.0;
    line.point = problem.transform.params;
    line.direction.resize(36);
    std::fill_n(line.direction.data, 36, 1.0);
    line.length = 1.0;
    line.value = -problem.functional.evaluate();
    LineFreezing freezing(search, problem.transform, 36);
    freezing.begin(line);
    line.search(search, 36);
    lengthBefore = line.length;
    problem.functional.worstBrick = worstBrick;
    freezing.improve(line, gradient, numPenalised);
  }

  std::set<std::size_t> held() const {
    std::set<std::size_t> indices;
    const Point shifts = shiftsOf(problem.vertices());
    for (std::size_t i = 0; i < shifts.size(); ++i)
      if (std::abs(shifts[i]) < 1e-6) indices.insert(i);
    return indices;
  }
};

// Brick 1 has the vertices 1, 2, 4, 5, 7, 8, 10 and 11. Of equal components the last eight go, and
// a larger one goes wherever it stands.
TEST(LineFreezing, HoldsTheEightLargestComponentsOfTheWorstBrick) {
  LogCapture log;
  FreezingRun equal(fencing({25, 30, 35}));
  equal.run(1, 50);
  EXPECT_LT(equal.lengthBefore, 0.01);
  EXPECT_NEAR(equal.line.length, 2.0, 0.05);
  EXPECT_EQ(equal.held(), (std::set<std::size_t>{25, 26, 30, 31, 32, 33, 34, 35}));
  EXPECT_EQ(log.lines,
            std::vector<std::string>{"     freeze brick 1 0 0, step lenghts 0.00 2.00 "});
  EXPECT_EQ(equal.problem.functional.maxShapePenalty, 0.0);
  EXPECT_EQ(equal.problem.functional.maxJacobianPenalty, 0.0);
  EXPECT_EQ(equal.problem.functional.maxOtherPenalty, 0.0);
  FreezingRun larger(fencing({3}));
  larger.gradient[3] = 1.5;
  larger.gradient[2] = 9.0;  // of a vertex beside the brick
  larger.run(1, 0);
  EXPECT_EQ(larger.held(), (std::set<std::size_t>{3, 26, 30, 31, 32, 33, 34, 35}));
}

TEST(LineFreezing, HoldsTheLargestShiftsWhereTheBrickIsNoHelp) {
  const int counts[][2] = {{11, 10}, {19, 10}, {21, 10}, {22, 11}, {1000, 500}};
  for (const auto& [numPenalised, count] : counts) {
    LogCapture log;
    FreezingRun run(fencing({0}));
    run.gradient[0] = 5.0;
    run.run(2, numPenalised);  // a stale index: the grid has two bricks
    std::set<std::size_t> expected = {0};
    for (std::size_t i = 36; expected.size() < static_cast<std::size_t>(std::min(count, 36));)
      expected.insert(--i);
    EXPECT_EQ(run.held(), expected);
    const std::string text =
        "     freeze " + std::to_string(count) + " largest point shifts, step lenghts 0.00 2.";
    ASSERT_EQ(log.lines.size(), 1u);
    EXPECT_EQ(log.lines[0].substr(0, text.size()), text);
  }
  const LogCapture log;
  FreezingRun few(fencing({0}));
  few.run(-1, 10);
  EXPECT_TRUE(log.lines.empty());
}

// Held, the last coordinate makes the line shorter; so both ways are taken back.
TEST(LineFreezing, TakesBackWhatMakesTheLineShorter) {
  LogCapture log;
  FreezingRun run([](const Point& vertices) {
    const Point shifts = shiftsOf(vertices);
    const double best = std::abs(shifts[35]) < 1e-6 ? 0.05 : 0.12;
    return -(shifts[0] - best) * (shifts[0] - best);
  });
  run.run(1, 12);
  EXPECT_NEAR(run.lengthBefore, 0.12, 0.005);
  EXPECT_EQ(run.line.length, run.lengthBefore);
  EXPECT_EQ(run.line.direction[35], run.lengthBefore);
  EXPECT_EQ(log.lines, (std::vector<std::string>{
                           "     freeze brick 1 0 0, step lenghts 0.12 0.05 ",
                           "     freeze 10 largest point shifts, step lenghts 0.12 0.05 "}));
}

}  // namespace
