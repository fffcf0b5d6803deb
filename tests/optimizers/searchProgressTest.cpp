#include "optimizers/searchProgress.h"

#include <climits>

#include "optimizers/RegGradientOptimizer.h"
#include "tests/optimizers/searchTrace.h"

namespace {

using voxreg::detail::partToConvergence;
using voxreg::detail::SearchProgress;

std::vector<int> reported(int stageNumber, int numStages, float part, int percent) {
  SearchWatcher watcher;
  RegGradientOptimizer search(&watcher, 0.1f, false);
  search.stageNumber = stageNumber;
  search.numStages = numStages;
  const SearchProgress progress(search);
  progress.reportPart(part);
  progress.reportPercent(percent);
  return watcher.values;
}

TEST(SearchProgress, SharesTheWholeAmongTheStages) {
  EXPECT_EQ(reported(1, 1, 0.25f, 40), (std::vector<int>{25, 40}));
  EXPECT_EQ(reported(7, 0, 1.0f, 1), (std::vector<int>{100, 1}));
  EXPECT_EQ(reported(3, 4, 0.5f, 50), (std::vector<int>{63, 13}));
  EXPECT_EQ(reported(-5, 2, 0.0f, 1), (std::vector<int>{0, 1}));
  EXPECT_EQ(reported(INT_MIN, 2, std::nanf(""), 0), (std::vector<int>{0, 0}));
  EXPECT_EQ(reported(INT_MAX, 2, 1.0f, 1)[0], 2147483520);
}

TEST(SearchProgress, FollowsTheLogarithmOfTheGain) {
  EXPECT_FLOAT_EQ(partToConvergence(1.0, std::exp(4.0)), 0.6f);
  EXPECT_EQ(partToConvergence(1.0, std::exp(11.0)), 0.0f);
  EXPECT_EQ(partToConvergence(1.0, 0.0), 1.0f);
  EXPECT_EQ(partToConvergence(0.0, 0.0), 0.0f);
  EXPECT_EQ(partToConvergence(-1.0, 1.0), 0.0f);
  EXPECT_EQ(partToConvergence(1.0, std::nan("")), 0.0f);
}

}  // namespace
