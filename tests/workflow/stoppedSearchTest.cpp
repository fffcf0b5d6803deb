#include <gtest/gtest.h>

#include "tests/support/LogCapture.h"
#include "tests/support/volumeValues.h"
#include "tests/workflow/smoothScene.h"

namespace {

using voxreg::Image;
using voxreg::Progress;
using voxreg::Registration;

const SceneGrid coarse = {{10, 10, 10}, {8, 0, 0, 0, 0, 8, 0, 0, 0, 0, 8, 0, 0, 0, 0, 1}};

class StoppedSearch : public testing::TestWithParam<bool> {
 protected:
  Registration registered(const voxreg::ProgressCallback& progress) const {
    if (GetParam()) {
      voxreg::DeformableOptions options;
      options.startRule = voxreg::StartRule::masses;
      options.metric.bins = 16;
      options.spacing = 40.0;
      options.tolerance = 1e-2f;
      options.progress = progress;
      return voxreg::registerDeformable(reference_, model_, options);
    }
    voxreg::AffineOptions options;
    options.startRule = voxreg::StartRule::masses;
    options.metric.bins = 16;
    options.search.gradientTolerance = 1e-3f;
    options.progress = progress;
    return voxreg::registerAffine(reference_, model_, options);
  }
  void expectUnlocked() const {
    EXPECT_TRUE(isUnlocked(reference_.volume()) && isUnlocked(model_.volume()));
  }

 private:
  const LogCapture log_;
  const Image reference_ = sampled([](const NmVec3d& p) { return blobsAt(warped(p)); }, coarse);
  const Image model_ = sampled(blobsAt, coarse);
};

TEST_P(StoppedSearch, endsAtEachPollWithAResult) {
  bool isStopped = true;
  double furthest = 0.0;
  for (int stop = 1; isStopped && stop < 10000; ++stop) {
    SCOPED_TRACE(stop);
    int calls = 0;
    double last = 0.0;
    const Registration found = registered([&](const Progress& progress) {
      EXPECT_GE(progress.share, last);
      EXPECT_LE(progress.share, 1.0);
      EXPECT_FALSE(progress.stage.empty());
      last = progress.share;
      return ++calls < stop;
    });
    isStopped = calls == stop;
    EXPECT_LE(calls, stop) << "asked again";
    EXPECT_TRUE(found) << found.reason.message;
    EXPECT_EQ(found.interrupted, isStopped);
    EXPECT_EQ(found.metricAfter.has_value(), found.evaluations > 0);
    for (int c = 0; c < 3; ++c) EXPECT_TRUE(std::isfinite(found.transform({1, 2, 3})[c]));
    expectUnlocked();
    furthest = last;
  }
  EXPECT_FALSE(isStopped);
  EXPECT_DOUBLE_EQ(furthest, 1.0);
}

TEST_P(StoppedSearch, passesOnWhatTheHostThrows) {
  struct OfTheHost {};
  bool isThrown = true;
  for (int when = 1; isThrown && when < 10000; ++when) {
    int calls = 0;
    isThrown = false;
    try {
      (void)registered([&](const Progress&) {
        if (++calls == when) throw OfTheHost();
        return true;
      });
    } catch (const OfTheHost&) {
      isThrown = true;
    }
    EXPECT_TRUE(isThrown || calls < when) << when;
    expectUnlocked();
  }
  EXPECT_FALSE(isThrown);
}

INSTANTIATE_TEST_SUITE_P(AffineOrDeformable, StoppedSearch, testing::Bool());

}  // namespace
