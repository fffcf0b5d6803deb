#include "optimizers/RegBestDirectionOptimizer.h"

#include "tests/optimizers/searchTrace.h"

namespace {

constexpr double unevaluated = std::numeric_limits<float>::lowest();

struct Setting {
  float maxStep, minStep, reduction;
  bool fit;
  int levelNumber, numLevels;
};

/// How many passes are counted beforehand, and the steps of those that run.
struct Schedule {
  int passes = 1;
  std::vector<float> steps = {};
};

Schedule scheduleOf(const Setting& setting) {
  Schedule schedule;
  float reduction = setting.reduction;
  if (setting.fit) {
    const float ratio = setting.minStep / setting.maxStep;
    const int n = static_cast<int>(logf(ratio) / logf(reduction));
    const auto fitted = static_cast<float>(std::pow(static_cast<double>(ratio), 1.0 / n));
    reduction = n == 0 ? 0.5f : fitted;
    auto step = static_cast<float>(std::pow(static_cast<double>(reduction), -n) *
                                   static_cast<double>(setting.minStep));
    for (schedule.passes = 0; schedule.passes <= n; ++schedule.passes, step *= reduction)
      schedule.steps.push_back(step);
    return schedule;
  }
  const float level =
      static_cast<float>(setting.levelNumber - 1) / static_cast<float>(setting.numLevels - 1);
  const auto drop = static_cast<float>(0.1 * static_cast<double>(level));
  const auto fall = [drop](float& factor) { factor -= drop < factor ? drop : 0.0f; };
  for (float s = setting.maxStep; s >= setting.minStep; ++schedule.passes, fall(reduction))
    s *= reduction;
  reduction = setting.reduction;
  float step = setting.maxStep;
  for (int pass = 0; pass < schedule.passes; ++pass, step *= reduction) {
    const bool isLast = 3.0f * setting.minStep > step;
    if (isLast) step = setting.minStep;
    if (isLast) pass = schedule.passes;
    if (pass > 0) fall(reduction);
    schedule.steps.push_back(step);
  }
  return schedule;
}

Point gradientOf(NaiveWalker& walker, float factor, double value) {
  Point gradient(walker.dim);
  for (std::size_t i = 0; i < walker.dim; ++i) {
    const double saved = walker.p[i];
    const auto delta = static_cast<double>(static_cast<float>(walker.steps[i]) * factor);
    walker.p[i] = delta + saved;
    const double plus = walker.evaluate();
    walker.p[i] = saved - delta;
    const double minus = walker.evaluate();
    walker.p[i] = saved;
    gradient[i] = value < plus || value < minus ? plus - minus : 0.0;
  }
  return gradient;
}

double searchNaively(NaiveWalker& walker, const Setting& setting, double tolerance) {
  const Schedule schedule = scheduleOf(setting);
  const int maxLineMoves =
      static_cast<int>(8.0f - 6.0f * static_cast<float>(setting.levelNumber - 1) /
                                  static_cast<float>(std::max(setting.numLevels, 2) - 1));
  double value = 0.0;
  for (const float step : schedule.steps) {
    int moves = 0;
    for (bool moved = true; moved;) {
      moved = false;
      value = walker.evaluate();
      Point d = gradientOf(walker, step, value);
      if (value == unevaluated) return value;
      float largest = 0.0f;
      for (const double g : d) largest = std::fmax(largest, std::abs(static_cast<float>(g)));
      if (!(largest > 0.0f)) break;
      for (std::size_t i = 0; i < walker.dim; ++i) {
        d[i] = walker.steps[i] * static_cast<double>(step / largest) * d[i];
        if (!std::isfinite(d[i])) d[i] = 0.0;
      }
      double v = walker.evaluateAt(1.0, d);
      while (v > value && moves <= maxLineMoves &&
             2.0 * std::abs(v - value) > (std::abs(value) + std::abs(v) + 0.001) * tolerance) {
        value = v;
        v = walker.evaluateAt(1.0, d);
        ++moves;
        moved = true;
      }
      walker.add(-1.0, d);
      shrink(d, 0.6667);
      for (int k = 0; k < schedule.passes; ++k) {
        const double plus = walker.evaluateAt(1.0, d), minus = walker.evaluateAt(-2.0, d);
        const bool takesPlus = plus > value && !(minus >= plus), gains = takesPlus || minus > value;
        walker.add(takesPlus ? 2.0 : gains ? 0.0 : 1.0, d);
        if (gains) value = takesPlus ? plus : minus;
        if (!gains) shrink(d, 0.6667);
      }
    }
  }
  return value;
}

TEST(RegBestDirectionOptimizer, VisitsThePointsOfTheNaiveSearch) {
  const Setting settings[] = {{2.0f, 0.1f, 0.5f, true, 0, 1},   {1.0f, 1.0f, 0.5f, true, 2, 2},
                              {2.0f, 0.01f, 0.5f, false, 3, 3}, {2.0f, 0.5f, 0.5f, false, 1, 4},
                              {1.0f, 0.3f, 0.5f, false, 1, 1},  {1.0f, 2.0f, 0.5f, false, 2, 3}};
  for (const Landscape& landscape : landscapes)
    for (const Setting& setting : settings)
      for (const int dim : {0, 3, 12}) {
        SCOPED_TRACE(std::string(landscape.name) + ", " + std::to_string(dim));
        AnalyticProblem problem(landscape.height, dim);
        problem.transform.params[1] = 0.1;
        NaiveWalker walker(problem, landscape.height);
        RegBestDirectionOptimizer search(nullptr, setting.reduction, 0x1p-10f, setting.fit);
        search.levelNumber = setting.levelNumber;
        search.numLevels = setting.numLevels;
        search.setFunctional(&problem.functional);
        const double value = search.optimize(setting.maxStep, setting.minStep);
        expectSame(value, searchNaively(walker, setting, 0x1p-10), problem.metric->trials,
                   walker.trials);
        EXPECT_TRUE(std::equal(walker.p.begin(), walker.p.end(), problem.transform.params.data));
      }
}

TEST(RegBestDirectionOptimizer, ReportsItsShareAndLoosensItsTolerance) {
  SearchWatcher watcher;
  AnalyticProblem problem([](const Point&) { return 1.0; });
  RegBestDirectionOptimizer search(&watcher, 0.5f, 1e-8f, true);
  search.stageNumber = 2;
  search.levelNumber = 2;
  search.numStages = search.numLevels = 4;
  search.setFunctional(&problem.functional);
  EXPECT_EQ(search.optimize(4.0f, 1.0f), 1.0);
  EXPECT_EQ(watcher.values, (std::vector<int>{25, 33, 42}));
  EXPECT_EQ(search.maxLineMoves, 6);
  EXPECT_EQ(search.optimize(1.0f, 2.0f), 0.0);
  EXPECT_EQ(search.relativeTolerance, 1e-8f * 10.0f * 10.0f);
  EXPECT_EQ(problem.metric->trials.size(), 3u * 7u);
  search.fitStepReduction = false;
  search.optimize(1.0f, 2.0f);
  EXPECT_EQ(watcher.values.back(), 50);
  EXPECT_EQ(problem.metric->trials[22][0], 2.0);  // one pass, at the smallest step
  AnalyticProblem without([](const Point&) { return unevaluated; });
  search.setFunctional(&without.functional);
  EXPECT_EQ(search.optimize(1.0f, 0.5f), unevaluated);
  EXPECT_EQ(search.relativeTolerance, 1e-8f * 10.0f * 10.0f * 10.0f);
}

// A factor that lets the step grow or stay, no smallest step, and levels as constructed, where the
// factor becomes infinite.
TEST(RegBestDirectionOptimizer, EndsForEveryStepRangeAndFactor) {
  for (const float maxStep : {0.0f, -1.0f, 2.0f, 3e38f, HUGE_VALF, NAN})
    for (const float minStep : {1.0f, 0.0f, -1.0f, 1e-40f, HUGE_VALF, NAN})
      for (const float reduction : {0.5f, 1.0f, 2.0f, -0.5f, 0.0f, HUGE_VALF, NAN})
        for (const int numLevels : {1, 0, 2}) {
          AnalyticProblem problem(landscapes[11].height, 1);
          RegBestDirectionOptimizer search(nullptr, reduction, 1e-8f, false);
          search.numLevels = numLevels;
          search.setFunctional(&problem.functional);
          search.optimize(maxStep, minStep);
          EXPECT_TRUE(std::isfinite(problem.transform.params[0])) << maxStep << " " << minStep;
        }
}

}  // namespace
