#include "tests/registration/registrationFixture.h"
#include "tests/support/FailingAllocation.h"

namespace {

/// Lets every allocation of a registration fail in turn; `volumesMade` take two each.
void runShortOfMemoryEverywhere(Settings& settings, int volumesMade) {
  const LogCapture log;
  RecordingProgress progress;
  settings.progress = &progress;
  settings.stepRange = NmVec2f(1.0f, 1.0f);
  // A volume keeps the room in which it notes its readers from its first reader on.
  settings.reference[0]->lock(false);
  settings.model[0]->lock(false);
  for (const bool rethrow : {false, true}) {
    settings.rethrow = rethrow;
    auto registration = settings.build();
    bool result = false;
    int missingLevels = 0;
    const long attempts = failEachAllocation(
        [&] {
          result = false;
          result = registration->compute(2);
        },
        [&](bool hasFailed, bool threw) {
          // A volume that cannot be made is no exception.
          const bool isLevelMissing = !result && !threw;
          missingLevels += isLevelMissing ? 1 : 0;
          EXPECT_TRUE(result || hasFailed);
          EXPECT_EQ(threw, hasFailed && !isLevelMissing && rethrow);
          EXPECT_EQ(registration->busy, 0);
          EXPECT_TRUE(isUnlocked(settings.reference[0]) && isUnlocked(settings.model[0]));
          registration = settings.build();
        });
    if (attempts == 0) return;
    EXPECT_GT(attempts, 20);
    EXPECT_GE(missingLevels, 2 * volumesMade);
    EXPECT_EQ(missingLevels > 0, volumesMade > 0);
  }
}

TEST(Compute, EndsCleanWhereverMemoryRunsOut) {
  Settings settings = {.calculateCoverage = true};
  for (settings.optimizerKind = 0; settings.optimizerKind < 5; ++settings.optimizerKind)
    runShortOfMemoryEverywhere(settings, 0);
}

TEST(Compute, EndsCleanWhereverMemoryRunsOutOnThreeLevels) {
  Settings settings = {.coarsest = {4, 4, 4}};
  runShortOfMemoryEverywhere(settings, 4);
}

TEST(Compute, EndsCleanWhereverMemoryRunsOutOnABrickGrid) {
  Settings settings = {
      .model = listOf({makeBall(4.0)}),  // aligned from the start: one sweep a stage
      .affineStages = {},
      .nonAffineStages = {10101, 20101, 0}};
  runShortOfMemoryEverywhere(settings, 0);
}

}  // namespace
