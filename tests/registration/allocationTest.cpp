#include <gtest/gtest.h>

#include "foundation/NmException.h"
#include "tests/registration/registrationFixture.h"
#include "tests/support/FailingAllocation.h"

namespace {

enum class Outcome { unharmed, exception, noLevel };

/// One registration with the k-th allocation failing.
Outcome runShortOfMemory(Settings& settings, long k) {
  const long before = FailingAllocation::liveBlocks();
  Outcome outcome = Outcome::unharmed;
  {
    const auto registration = settings.build();
    bool result = false, threw = false;
    {
      const FailingAllocation shortage(k);
      try {
        result = registration->compute(2);
      } catch (const NmException&) {
        threw = true;
      }
      if (shortage.hasFailed()) outcome = Outcome::exception;
    }
    // A volume that can't be made is no exception.
    if (!result && !threw) outcome = Outcome::noLevel;
    EXPECT_EQ(threw, outcome == Outcome::exception && settings.rethrow) << k;
    EXPECT_EQ(registration->busy, 0) << k;
    EXPECT_TRUE(isUnlocked(settings.reference[0]) && isUnlocked(settings.model[0])) << k;
  }
  EXPECT_EQ(FailingAllocation::liveBlocks(), before) << k;
  return outcome;
}

/// Lets every allocation of a registration fail in turn; `volumesMade` take two each.
void runShortOfMemoryEverywhere(Settings& settings, int volumesMade) {
  if (!FailingAllocation::isServed()) GTEST_SKIP() << "the library's allocations are its own";
  const LogCapture log;
  RecordingProgress progress;
  settings.progress = &progress;
  settings.stepRange = NmVec2f(1.0f, 1.0f);
  // A volume keeps the room in which it notes its readers from its first reader on.
  settings.reference[0]->lock(false);
  settings.model[0]->lock(false);
  for (const bool rethrow : {false, true}) {
    settings.rethrow = rethrow;
    int missingLevels = 0;
    Outcome outcome = Outcome::exception;
    long k = 0;
    while (outcome != Outcome::unharmed && !testing::Test::HasFailure()) {
      outcome = runShortOfMemory(settings, ++k);
      if (outcome == Outcome::noLevel) ++missingLevels;
    }
    EXPECT_GT(k, 20);
    EXPECT_GE(missingLevels, 2 * volumesMade);
    EXPECT_EQ(missingLevels > 0, volumesMade > 0);
  }
}

TEST(Compute, EndsCleanWhereverMemoryRunsOut) {
  Settings settings;
  settings.calculateCoverage = true;
  for (settings.optimizerKind = 0; settings.optimizerKind < 5; ++settings.optimizerKind)
    runShortOfMemoryEverywhere(settings, 0);
}

TEST(Compute, EndsCleanWhereverMemoryRunsOutOnThreeLevels) {
  Settings settings;
  settings.coarsest = NmVec3i(4, 4, 4);
  runShortOfMemoryEverywhere(settings, 4);
}

TEST(Compute, EndsCleanWhereverMemoryRunsOutOnABrickGrid) {
  Settings settings;
  settings.model = listOf({makeBall(4.0)});  // aligned from the start: one sweep a stage
  settings.affineStages = NmVec4i();
  settings.nonAffineStages = NmVec3i(10101, 20101, 0);
  runShortOfMemoryEverywhere(settings, 0);
}

}  // namespace
