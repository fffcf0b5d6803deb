#include <memory>

#include "optimizers/RegAggressiveDirectionOptimizer.h"
#include "optimizers/RegBestDirectionOptimizer.h"
#include "optimizers/RegGradientOptimizer.h"
#include "tests/optimizers/searchTrace.h"
#include "tests/support/LogCapture.h"

namespace {

std::unique_ptr<RegOptimizer> makeSearch(int kind, RegOptimizerCallback* callback) {
  if (kind == 3)
    return std::make_unique<RegAggressiveDirectionOptimizer>(callback, 0.5f, 0.1f, 3, false);
  if (kind == 4) return std::make_unique<RegBestDirectionOptimizer>(callback, 0.5f, 1e-6f, true);
  auto search = std::make_unique<RegGradientOptimizer>(callback, 1e-3f, false);
  search->method = kind;
  return search;
}

struct StoppedRun {
  SearchWatcher watcher;
  AnalyticProblem problem;
  double value;

  /// With 12 parameters, of which those of rotation and scale have infinite steps.
  StoppedRun(const Landscape& landscape, int kind, int poll) : problem(landscape.height, 12) {
    problem.functional.modelSize = NmVec3f();
    watcher.interruptAt = poll;
    problem.functional.callback = &watcher;
    const auto search = makeSearch(kind, &watcher);
    search->setFunctional(&problem.functional);
    value = search->optimize(1.5f, 0.5f);
  }
};

class SearchInterruption : public testing::TestWithParam<int> {};

// The road is that of the whole run up to where it stops, which is soon, and the value is one that
// was found on it, or 0 where the search stops before it has one.
TEST_P(SearchInterruption, StopsAtAnyPollWithAValueOfItsRoad) {
  const LogCapture log;
  for (const Landscape& landscape : landscapes) {
    const StoppedRun whole(landscape, GetParam(), 0);
    for (int poll = 1; poll <= whole.watcher.polls; poll += 1 + poll / 16) {
      SCOPED_TRACE(std::string(landscape.name) + ", poll " + std::to_string(poll));
      const StoppedRun run(landscape, GetParam(), poll);
      const std::vector<Point>& trials = run.problem.metric->trials;
      ASSERT_TRUE(sameBits(trials, whole.problem.metric->trials, trials.size()));
      EXPECT_LE(run.watcher.polls, poll + 4);
      for (int i = 0; i < 12; ++i) EXPECT_TRUE(std::isfinite(run.problem.transform.params[i]));
      bool isFound = run.value == 0.0 && (GetParam() == 4 || trials.size() < 26);
      for (const Point& trial : trials) {
        const double height = landscape.height(trial);
        isFound = isFound || run.value == height || (std::isnan(run.value) && std::isnan(height));
      }
      EXPECT_TRUE(isFound) << run.value;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(AllSearches, SearchInterruption, testing::Range(0, 5));

}  // namespace
