#include "optimizers/RegAggressiveDirectionOptimizer.h"

#include "metrics/RegMetric.h"
#include "tests/optimizers/searchTrace.h"
#include "tests/support/LogCapture.h"

namespace {

struct Setting {
  float maxStep, minStep, increment;
  int refineAllPasses;
};

/// The search in one piece, for parameters that all may move.
double searchNaively(NaiveWalker& walker, const Setting& setting) {
  constexpr double unevaluated = std::numeric_limits<float>::lowest();
  double best = walker.evaluate(), value = best;
  Point bestPoint = walker.p, diffs(walker.dim), direction(walker.dim);
  const float ratio = setting.minStep / setting.maxStep;
  const int n = static_cast<int>(logf(ratio) / logf(0.5f));
  const auto fitted = static_cast<float>(std::pow(static_cast<double>(ratio), 1.0 / n));
  const auto reduction = static_cast<double>(n == 0 ? 0.5f : fitted);
  auto step = static_cast<float>(std::pow(reduction, -n) * static_cast<double>(setting.minStep));
  for (int pass = 0; pass <= n; ++pass, step *= static_cast<float>(reduction)) {
    const auto trial = static_cast<double>(step);
    for (bool improved = true; improved;) {
      improved = false;
      const double start = value;
      double maxDiff = 0.0;
      for (std::size_t i = 0; i < walker.dim; ++i) {
        const double saved = walker.p[i], rounded = static_cast<double>(static_cast<float>(saved));
        walker.p[i] = saved + walker.steps[i] * trial;
        const double plus = walker.evaluate();
        walker.p[i] = rounded - walker.steps[i] * trial;
        const double minus = walker.evaluate();
        const bool counts = plus != unevaluated && minus != unevaluated;
        for (const double tried : {plus, minus})
          if (counts && tried > best) {
            best = tried;
            bestPoint = walker.p;
          }
        diffs[i] = counts && (plus > start || minus > start) ? plus - minus : 0.0;
        if (std::abs(diffs[i]) > maxDiff) maxDiff = std::abs(diffs[i]);
        walker.p[i] = rounded;
      }
      double threshold = 0.0;
      for (bool first = true; maxDiff > 0.0 && maxDiff >= threshold && std::isfinite(threshold);
           first = false) {
        bool changed = false, any = false;
        for (std::size_t i = 0; i < walker.dim; ++i) {
          const bool isOut = threshold > std::abs(diffs[i]);
          changed = changed || (isOut && direction[i] != 0.0);
          direction[i] = isOut ? 0.0 : diffs[i] * (walker.steps[i] * trial / maxDiff);
          if (!std::isfinite(direction[i])) direction[i] = 0.0;
          any = any || direction[i] != 0.0;
        }
        if ((changed || first) && any) {
          double v = walker.evaluateAt(1.0, direction);
          for (double last = v; v > value; value = last) {
            do {
              last = v;
              v = walker.evaluateAt(1.0, direction);
            } while (v > last);
            improved = true;
          }
          walker.add(-1.0, direction);
          shrink(direction, reduction);
          for (int k = setting.refineAllPasses != 0 ? 0 : pass; k <= n; ++k) {
            const double plus = walker.evaluateAt(1.0, direction);
            const double minus = walker.evaluateAt(-2.0, direction);
            improved = improved || plus > value || minus > value;
            walker.add(plus > value ? 2.0 : minus > value ? 0.0 : 1.0, direction);
            value = plus > value ? plus : minus > value ? minus : value;
            shrink(direction, reduction);
          }
        }
        if (!(setting.increment > 0.0f)) break;
        threshold = static_cast<double>(
            static_cast<float>(threshold + static_cast<double>(setting.increment) * maxDiff));
      }
      if (best > value) {
        walker.p = bestPoint;
        value = best;
        improved = true;
      }
    }
  }
  return value;
}

TEST(RegAggressiveDirectionOptimizer, VisitsThePointsOfTheNaiveSearch) {
  const LogCapture log;
  for (const Landscape& landscape : landscapes)
    for (const Setting& setting :
         {Setting{2.0f, 0.1f, 0.1f, 0}, Setting{1.0f, 1.0f, 1.0f / 3.0f, 0},
          Setting{4.0f, 0.25f, 0.75f, 1}, Setting{2.0f, 0.5f, 0.0f, 0}})
      for (const int dim : {0, 3, 12}) {
        SCOPED_TRACE(std::string(landscape.name) + ", " + std::to_string(dim));
        AnalyticProblem problem(landscape.height, dim);
        problem.transform.params[1] = 0.1;
        NaiveWalker walker(problem, landscape.height);
        RegAggressiveDirectionOptimizer search(nullptr, 0.5f, setting.increment, 3, false);
        search.refineAllPasses = setting.refineAllPasses;
        search.setFunctional(&problem.functional);
        const double value = search.optimize(setting.maxStep, setting.minStep);
        expectSame(value, searchNaively(walker, setting), problem.metric->trials, walker.trials);
        EXPECT_TRUE(std::equal(walker.p.begin(), walker.p.end(), problem.transform.params.data));
      }
}

TEST(RegAggressiveDirectionOptimizer, SuppressesRotationsAndLeavesThePlane) {
  const LogCapture log;
  const double factors[] = {1.0, 1.0, 0.0, 0.0, 0.0, 0.2, 1.0};
  AnalyticProblem problem([](const Point&) { return 0.0; }, 12);
  RegAggressiveDirectionOptimizer search(nullptr, 0.5f, 0.1f, 3, true);
  search.setFunctional(&problem.functional);
  search.optimize(2.0f, 2.0f);
  ASSERT_EQ(problem.metric->trials.size(), 25u);
  NmVec3d extent(4, 4, 4);
  for (std::size_t i = 0; i < 7; ++i)
    EXPECT_EQ(problem.metric->trials[1 + 2 * i][i],
              (i < 6 ? 0.0 : 1.0) +
                  problem.transform.getParamStep(static_cast<int>(i), &extent) * factors[i] * 2.0);
  search.planeMode = 4;
  search.optimize(2.0f, 2.0f);
  EXPECT_EQ(problem.metric->trials.size(), 25u + 1u + 2u * 7u);
}

// A quarter of 1, 34 and 67 per cent, and the half stage before it that is not scaled.
TEST(RegAggressiveDirectionOptimizer, ReportsItsShareUnscaledAndLogsEachPass) {
  LogCapture log;
  SearchWatcher watcher;
  AnalyticProblem problem([](const Point&) { return 0.25; });
  RegAggressiveDirectionOptimizer search(&watcher, 0.5f, 0.1f, 3, false);
  search.stageNumber = 3;
  search.numStages = 4;
  search.setFunctional(&problem.functional);
  search.optimize(4.0f, 1.0f);
  EXPECT_EQ(watcher.values, (std::vector<int>{1, 1, 9, 17}));
  EXPECT_EQ(watcher.polls, 1 + 3 * (6 + 1));
  search.restrictedMotion = true;
  search.optimize(1.0f, 1.0f);
  const std::string start = " initial Metric value: 0.25000", pass = "Metric 0.25000";
  EXPECT_EQ(log.lines,
            (std::vector<std::string>{start, pass, pass, pass, start, pass + ", rel.covrg 1.000"}));
  // Stopped at the first move of a walk, it gives the value of the point that it has reached.
  AnalyticProblem roof(landscapes[10].height, 1);
  search.setFunctional(&roof.functional);
  watcher.interruptAt = watcher.polls + 4;
  EXPECT_EQ(search.optimize(1.0f, 1.0f), -6.0);
  EXPECT_EQ(roof.transform.params[0], 1.0);
}

TEST(RegAggressiveDirectionOptimizer, EndsForEveryStepRangeAndIncrement) {
  const LogCapture log;
  for (const float maxStep : {0.0f, -1.0f, 1.0f, HUGE_VALF, NAN, 1e-45f, 3e38f})
    for (const float minStep : {1.0f, 0.0f, HUGE_VALF, NAN})
      for (const float increment : {0.1f, 1e-7f, -1.0f, HUGE_VALF, NAN}) {
        AnalyticProblem problem(landscapes[11].height, 12);
        RegAggressiveDirectionOptimizer search(nullptr, 0.5f, increment, 3, true);
        search.setFunctional(&problem.functional);
        search.optimize(maxStep, minStep);
        EXPECT_TRUE(std::isfinite(problem.transform.params[0])) << maxStep << " " << minStep;
      }
}

}  // namespace
