#include "foundation/NmProgressInterface.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "foundation/ProgressScope.h"
#include "tests/support/RecordingProgress.h"

namespace {

using Calls = std::vector<std::string>;

TEST(NmProgressInterface, CaptionIsStoredAndTold) {
  RecordingProgress progress;
  progress.setProgressInfo("level 2");
  EXPECT_EQ(progress.progressInfo(), "level 2");
  progress.setProgressInfo(nullptr);
  EXPECT_EQ(progress.calls, (Calls{"level 2", ""}));
}

TEST(ProgressScope, StopsOnceAndToleratesNullAndExceptions) {
  RecordingProgress progress;
  progress.onCall = [] { throw std::runtime_error("stopWorking"); };
  {
    const ProgressScope none(nullptr);
    const ProgressScope scope(&progress);
    EXPECT_TRUE(progress.calls.empty());
  }
  EXPECT_EQ(progress.calls, Calls{"stop"});
}

}  // namespace
