#include <gtest/gtest.h>

#include <cstddef>

#include "foundation/NmException.h"
#include "tests/registration/registrationFixture.h"

// This program is linked so that the library's calls of malloc, realloc and free come here.
extern "C" {
void* __real_malloc(std::size_t bytes);
void* __real_realloc(void* p, std::size_t bytes);
void __real_free(void* p);
void* __wrap_malloc(std::size_t bytes);
void* __wrap_realloc(void* p, std::size_t bytes);
void __wrap_free(void* p);
}

namespace {

long liveBlocks = 0;
long callsUntilFailure = -1;  ///< negative: memory does not run out
bool hasFailed = false;

bool runsOut() {
  if (callsUntilFailure < 0 || --callsUntilFailure >= 0) return false;
  hasFailed = true;
  return true;
}

}  // namespace

void* __wrap_malloc(std::size_t bytes) {
  if (runsOut()) return nullptr;
  void* const block = __real_malloc(bytes);
  if (block != nullptr) ++liveBlocks;
  return block;
}

void* __wrap_realloc(void* p, std::size_t bytes) {
  if (runsOut()) return nullptr;
  void* const block = __real_realloc(p, bytes);
  if (p == nullptr && block != nullptr) ++liveBlocks;
  return block;
}

void __wrap_free(void* p) {
  if (p != nullptr) --liveBlocks;
  __real_free(p);
}

namespace {

/// One registration with the k-th allocation failing. Returns whether there were that many.
bool runShortOfMemory(Settings& settings, long k) {
  const long before = liveBlocks;
  bool failed = false;
  {
    const auto registration = settings.build();
    hasFailed = false;
    callsUntilFailure = k;
    bool result = false;
    bool threw = false;
    try {
      result = registration->compute(2);
    } catch (const NmException&) {
      threw = true;
    }
    failed = hasFailed;
    callsUntilFailure = -1;
    EXPECT_EQ(threw, failed && settings.rethrow) << k;
    EXPECT_NE(result, threw) << k;
    EXPECT_EQ(registration->busy, 0) << k;
    EXPECT_TRUE(isUnlocked(settings.reference[0])) << k;
    EXPECT_TRUE(isUnlocked(settings.model[0])) << k;
  }
  EXPECT_EQ(liveBlocks, before) << k;
  return failed;
}

void runShortOfMemoryEverywhere(Settings& settings) {
  RecordingProgress progress;
  settings.progress = &progress;
  // A volume keeps the room in which it notes its readers from its first reader on.
  settings.reference[0]->lock(false);
  settings.model[0]->lock(false);
  for (const bool rethrow : {false, true}) {
    settings.rethrow = rethrow;
    long k = 0;
    while (runShortOfMemory(settings, k) && !testing::Test::HasFailure()) ++k;
    EXPECT_GT(k, 20);
  }
}

TEST(Compute, EndsCleanWhereverMemoryRunsOut) {
  Settings settings;
  settings.stepRange = NmVec2f(1.0f, 1.0f);
  settings.calculateCoverage = true;
  for (settings.optimizerKind = 0; settings.optimizerKind < 5; ++settings.optimizerKind)
    runShortOfMemoryEverywhere(settings);
}

TEST(Compute, EndsCleanWhereverMemoryRunsOutOnABrickGrid) {
  Settings settings;
  settings.model = listOf({makeBall(4.0)});  // aligned from the start: one sweep a stage
  settings.affineStages = NmVec4i();
  settings.nonAffineStages = NmVec3i(10101, 20101, 0);
  settings.stepRange = NmVec2f(1.0f, 1.0f);
  runShortOfMemoryEverywhere(settings);
}

}  // namespace
