#include "foundation/NmProgressInterface.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "foundation/ProgressScope.h"

namespace {

class Recorder : public NmProgressInterface {
 public:
  void startWorking(int, const std::string&) override {}
  void stopWorking() override {
    ++stops;
    if (fails) throw std::runtime_error("stopWorking");
  }
  void setProgressValue(int) override {}
  void progressInfoChanged(const std::string& text) override { told = text; }
  bool wasInterrupted() override { return false; }

  int stops = 0;
  bool fails = false;
  std::string told;
};

TEST(NmProgressInterface, CaptionIsStoredAndTold) {
  Recorder progress;
  progress.setProgressInfo("level 2");
  EXPECT_EQ(progress.progressInfo(), "level 2");
  EXPECT_EQ(progress.told, "level 2");
  progress.setProgressInfo(nullptr);
  EXPECT_EQ(progress.told, "");
}

TEST(ProgressScope, StopsOnceAndToleratesNullAndExceptions) {
  Recorder progress;
  {
    const ProgressScope scope(&progress);
    EXPECT_EQ(progress.stops, 0);
  }
  EXPECT_EQ(progress.stops, 1);
  progress.fails = true;
  { const ProgressScope scope(&progress); }
  EXPECT_EQ(progress.stops, 2);
  { const ProgressScope scope(nullptr); }
}

}  // namespace
