#include "optimizers/lineFreezing.h"

#include <set>

#include "optimizers/RegGradientOptimizer.h"
#include "optimizers/searchProgress.h"
#include "tests/optimizers/searchTrace.h"

namespace {

using voxreg::detail::LineFreezing;
using voxreg::detail::SearchLine;

constexpr std::size_t count = 54;  ///< coordinates of a grid of 1 x 2 x 2 bricks

/// How far each of them has come from the identity.
Point shiftsOf(const Point& vertices) {
  Point shifts = vertices;
  for (double& x : shifts) x -= 500.0 * std::round(x / 500.0);
  return shifts;
}

/// Two units from the identity are best for every coordinate, but one must not move at all.
Height fencing(std::size_t fenced) {
  return [fenced](const Point& vertices) {
    const Point shifts = shiftsOf(vertices);
    if (std::abs(shifts[fenced]) > 1e-6) return -1000.0;
    double value = 0.0;
    for (const double shift : shifts) value -= (shift - 2.0) * (shift - 2.0);
    return value;
  };
}

/// One line search along all coordinates, which are freed equally, with what freezing adds to it.
struct FreezingRun : Searched<RegGradientOptimizer, GridProblem> {
  NmDVector<double> gradient = all(-1.0);
  SearchLine line;
  double lengthBefore = 0.0;

  explicit FreezingRun(Height height)
      : Searched(std::move(height), NmVec3i(1, 2, 2), nobody, 0.001f, false) {}

  static NmDVector<double> all(double value) {
    NmDVector<double> v;
    v.resize(count);
    std::fill_n(v.data, count, value);
    return v;
  }

  void run(int worstBrick, int numPenalised, double length = 1.0) {
    functional.maxShapePenalty = functional.maxJacobianPenalty = functional.maxOtherPenalty = 7.0;
    line = {transform.params, all(1.0), -functional.evaluate(), length};
    voxreg::detail::SearchProgress progress(search);
    voxreg::detail::LineSearch lines(search, progress, count);
    LineFreezing freezing(lines, transform);
    freezing.begin(line);
    line.search(lines);
    lengthBefore = line.length;
    functional.worstBrick = worstBrick;
    freezing.improve(line, gradient, numPenalised);
  }
};

/// Of the components that may go, those of the largest gradients, of which there are two, and then
/// the last ones.
void expectHeld(int worstBrick, int numPenalised, std::size_t fenced, const std::string& logged,
                std::size_t frozen) {
  FreezingRun run(fencing(fenced));
  run.gradient[static_cast<long>(fenced)] = -1.5;
  run.gradient[23] = 9.0;  // of a vertex outside brick 3
  run.run(worstBrick, numPenalised);
  EXPECT_LT(run.lengthBefore, 0.01);
  ASSERT_EQ(run.log.lines.size(), 1u);
  EXPECT_EQ(run.log.lines[0].find(logged + ", step lenghts 0.00 2."), 0u) << run.log.lines[0];
  std::set<std::size_t> expected = {fenced};
  if (worstBrick != 3) expected.insert(23);
  for (std::size_t i = count; expected.size() < std::min(frozen, count);) expected.insert(--i);
  std::set<std::size_t> held;
  const Point shifts = shiftsOf(pointOf(run.transform));
  for (std::size_t i = 0; i < count; ++i)
    if (std::abs(shifts[i]) < 1e-6) held.insert(i);
  EXPECT_EQ(held, expected);
}

// Brick 3 has the vertices 8 to 11 and 14 to 17; there is no brick 4.
TEST(LineFreezing, HoldsTheLargestComponentsOfTheWorstBrickOrOfAll) {
  expectHeld(3, 50, 24, "     freeze brick 0 1 1", 8);
  expectHeld(4, 11, 0, "     freeze 10 largest point shifts", 10);
  expectHeld(4, 19, 0, "     freeze 10 largest point shifts", 10);
  expectHeld(-1, 21, 0, "     freeze 10 largest point shifts", 10);
  expectHeld(-1, 22, 0, "     freeze 11 largest point shifts", 11);
  expectHeld(-1, 1000, 0, "     freeze 500 largest point shifts", 500);
  FreezingRun few(fencing(0));
  few.run(-1, 10);
  EXPECT_TRUE(few.log.lines.empty());
  EXPECT_EQ(few.functional.maxShapePenalty, 0.0);
  EXPECT_EQ(few.functional.maxJacobianPenalty, 0.0);
  EXPECT_EQ(few.functional.maxOtherPenalty, 0.0);
}

// Held, the last coordinate makes the line shorter; so both ways are taken back. They are tried
// below 0.15 and 0.4 of the first step, or of 1 if that is less.
TEST(LineFreezing, TakesBackWhatMakesTheLineShorter) {
  const std::string brick = "     freeze brick 0 1 1, step lenghts 0.12 0.05 ",
                    shifts = "     freeze 10 largest point shifts, step lenghts 0.12 0.05 ";
  const std::pair<double, std::vector<std::string>> cases[] = {
      {2.0, {brick, shifts}}, {1.0, {brick, shifts}}, {0.5, {shifts}}, {0.2, {}}};
  for (const auto& [firstStep, lines] : cases) {
    FreezingRun run([](const Point& vertices) {
      const Point moved = shiftsOf(vertices);
      const double best = std::abs(moved[53]) < 1e-6 ? 0.05 : 0.12;
      return -(moved[0] - best) * (moved[0] - best);
    });
    run.run(3, 12, firstStep);
    EXPECT_NEAR(run.lengthBefore, 0.12, 0.005);
    EXPECT_EQ(run.line.length, run.lengthBefore);
    EXPECT_EQ(run.line.direction[53], run.lengthBefore);
    EXPECT_EQ(run.log.lines, lines);
  }
}

}  // namespace
