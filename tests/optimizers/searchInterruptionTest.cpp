#include <memory>

#include "optimizers/RegAggressiveDirectionOptimizer.h"
#include "optimizers/RegBestDirectionOptimizer.h"
#include "optimizers/RegBestNeighbourOptimizer.h"
#include "optimizers/RegGradientOptimizer.h"
#include "tests/optimizers/searchTrace.h"

namespace {

/// The three methods of the gradient search, then the others; `setting` is the tolerance or the
/// step reduction.
std::unique_ptr<RegOptimizer> makeSearch(int kind, RegOptimizerCallback* callback, float setting,
                                         float increment = 0.1f) {
  if (kind == 3)
    return std::make_unique<RegAggressiveDirectionOptimizer>(callback, setting, increment, 3,
                                                             false);
  if (kind == 4) return std::make_unique<RegBestDirectionOptimizer>(callback, setting, 1e-6f, true);
  if (kind == 5)
    return std::make_unique<RegBestDirectionOptimizer>(callback, setting, 1e-6f, false);
  if (kind == 6) return std::make_unique<RegBestNeighbourOptimizer>(callback, setting, 3);
  auto search = std::make_unique<RegGradientOptimizer>(callback, setting, false);
  search->method = kind;
  return search;
}

bool isFinite(const RegAffineTransform& transform) {
  return std::all_of(transform.params.data, transform.params.data + transform.params.size,
                     [](double p) { return std::isfinite(p); });
}

class AnySearch : public testing::TestWithParam<int> {
 protected:
  const LogCapture log_;
};

struct StoppedRun {
  SearchWatcher watcher;
  AnalyticProblem problem;
  double value;

  StoppedRun(const Landscape& landscape, int kind, long limit) : problem(landscape.height, 12) {
    watcher.limit = limit;
    problem.functional.callback = &watcher;
    const auto search = makeSearch(kind, &watcher, kind < 3 ? 1e-3f : 0.5f);
    search->setFunctional(&problem.functional);
    value = search->optimize(1.5f, 0.5f);
  }
};

// The road is that of the whole run up to where it stops, which is soon, and the value is one that
// was found on it, or 0 where the search stops before it has one.
TEST_P(AnySearch, StopsAtAnyPollWithAValueOfItsRoad) {
  for (const Landscape& landscape : landscapes) {
    const StoppedRun whole(landscape, GetParam(), 1L << 40);
    for (long poll = 1; poll <= whole.watcher.polls; poll += 1 + poll / 16) {
      SCOPED_TRACE(std::string(landscape.name) + ", poll " + std::to_string(poll));
      const StoppedRun run(landscape, GetParam(), poll - 1);
      const std::vector<Point>& trials = run.problem.metric->trials;
      ASSERT_TRUE(sameBits(trials, whole.problem.metric->trials, trials.size()));
      EXPECT_LE(run.watcher.polls, poll + 4);
      EXPECT_TRUE(isFinite(run.problem.transform));
      bool isFound = run.value == 0.0 && (GetParam() > 3 || trials.size() < 26);
      for (const Point& trial : trials)
        isFound = isFound || sameValue(run.value, landscape.height(trial));
      EXPECT_TRUE(isFound) << run.value;
    }
  }
}

// On a landscape that draws to infinity both along x and along a rotation, whose step is infinite
// in a volume without extent; with the levels as constructed.
TEST_P(AnySearch, EndsAtFiniteParametersForWhateverItIsGiven) {
  for (const float maxStep : {0.0f, -1.0f, 2.0f, 3e38f, HUGE_VALF, NAN})
    for (const float minStep : {1.0f, 0.0f, -1.0f, 1e-40f, HUGE_VALF, NAN})
      for (const float setting : {0.5f, 1.0f, 2.0f, -0.5f, 0.0f, HUGE_VALF, NAN})
        for (const float increment : {1e-7f, -1.0f, HUGE_VALF, NAN}) {
          AnalyticProblem problem(
              [](const Point& p) { return p[3] > 1e30 ? p[3] : std::exp(600.0 * p[0]); }, 4);
          problem.functional.modelSize = NmVec3f();
          const auto search = makeSearch(GetParam(), nullptr, setting, increment);
          search->setFunctional(&problem.functional);
          search->optimize(maxStep, minStep);
          EXPECT_TRUE(isFinite(problem.transform)) << maxStep << " " << minStep << " " << setting;
          if (GetParam() != 3) break;
        }
}

TEST_P(AnySearch, SaysSoWithoutAFunctionalOrItsTransform) {
  AnalyticProblem problem([](const Point&) { return 1.0; });
  const auto search = makeSearch(GetParam(), nullptr, 0.5f);
  EXPECT_EQ(search->stageNumber, 1);
  EXPECT_EQ(search->numStages, 1);
  EXPECT_EQ(search->optimize(1.0f, 1.0f), -1000.0);
  search->setFunctional(&problem.functional);
  EXPECT_EQ(search->transform, &problem.transform);
  search->setFunctional(nullptr);
  EXPECT_EQ(search->transform, nullptr);
  problem.functional.transform = nullptr;
  search->setFunctional(&problem.functional);
  EXPECT_EQ(search->optimize(1.0f, 1.0f), -1000.0);
  EXPECT_EQ(log_.errors.size(), 2u);
}

INSTANTIATE_TEST_SUITE_P(Searches, AnySearch, testing::Range(0, 7));

}  // namespace
