#include "foundation/NmProgressInterface.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "foundation/ProgressScope.h"
#include "tests/support/RecordingProgress.h"

namespace {

TEST(NmProgressInterface, TellsItsCaptionAndIsStoppedOnceByAScope) {
  RecordingProgress progress;
  progress.setProgressInfo("level 2");
  EXPECT_EQ(progress.progressInfo(), "level 2");
  progress.setProgressInfo(nullptr);
  progress.onCall = [] { throw std::runtime_error("stopWorking"); };
  {
    const ProgressScope none(nullptr);
    const ProgressScope scope(&progress);
    EXPECT_EQ(progress.calls.size(), 2U);
  }
  EXPECT_EQ(progress.calls, (std::vector<std::string>{"level 2", "", "stop"}));
}

}  // namespace
