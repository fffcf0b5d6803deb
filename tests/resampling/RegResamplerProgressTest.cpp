#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "resampling/RegResampler.h"
#include "tests/support/RecordingProgress.h"
#include "tests/support/RowVolume.h"
#include "tests/support/volumeValues.h"

namespace {

constexpr float untouched = 77.0f;

struct Outcome {
  std::string told;
  std::vector<float> values;
};

/// Resamples 3 x 4 x 5 voxels onto a target that is `untouched` before, interrupted at one poll,
/// counted from 0.
Outcome runOn(const NmVec3f& lengths, RegResampler::FilterType filter, int interrupted = -1,
              bool byRows = false) {
  NmHandle<VlData> source =
      volumeOf({3, 4, 5}, NmPrimType::Float, 1, generate(60, [](long i) { return i % 13; }));
  if (byRows) source = new RowVolume(source);
  const NmVec3l dims(static_cast<long>(lengths.x), static_cast<long>(lengths.y),
                     static_cast<long>(lengths.z));
  const std::vector<float> before(static_cast<std::size_t>(dims.x * dims.y * dims.z), untouched);
  NmHandle<VlData> result = volumeOf(dims, NmPrimType::Float, 1, before);
  RecordingProgress progress;
  int polls = 0;
  progress.onCall = [&] {
    progress.interrupted = progress.calls.back() == "poll" && polls++ == interrupted;
  };
  RegResampler resampler{.progress = &progress};
  EXPECT_TRUE(resampler.doResample(source, result, lengths, nullptr, {}, filter, 0.0f, 1));
  EXPECT_TRUE(isUnlocked(source) && isUnlocked(result));
  std::string told;
  for (const std::string& call : progress.calls)
    if (call != "poll") told += (call.rfind("value ", 0) == 0 ? call.substr(6) : call) + " ";
  return {told, valuesOf(*result)};
}

TEST(Progress, CountsOuterIterationsThroughAllPasses) {
  EXPECT_EQ(runOn({2, 3, 2}, RegResampler::Bell).told,
            "start 13 Resampling ... 1 2 3 4 5 5 6 7 8 9 9 10 11 stop ");
  EXPECT_EQ(runOn({3, 3, 2}, RegResampler::Bell).told,
            "start 8 Resampling ... 1 2 3 4 5 5 6 7 stop ");
  EXPECT_EQ(runOn({3, 4, 7}, RegResampler::Bell, -1, true).told,
            "start 4 Resampling ... 1 2 3 4 stop ");
  EXPECT_EQ(runOn({3, 4, 5}, RegResampler::Bell).told, "");
  EXPECT_EQ(runOn({1, 2, 5}, RegResampler::Box).told, "start 10 Resampling ... 1 2 3 4 5 stop ");
  EXPECT_EQ(runOn({2, 2, 3}, RegResampler::Maximum).told,
            "start 12 Resampling ... start 3  1 2 3 stop stop ");
}

// An interrupted slice is left out, and the next one asked about again.
TEST(Progress, AnInterruptionLeavesSlicesOut) {
  const NmVec3f along[3] = {{2, 4, 5}, {3, 7, 5}, {3, 4, 3}};
  for (int axis = 0; axis < 3; ++axis)
    for (const bool byRows : {false, true}) {
      const Outcome whole = runOn(along[axis], RegResampler::Lanczos3);
      const auto nx = static_cast<std::size_t>(along[axis].x);
      const auto ny = static_cast<std::size_t>(along[axis].y);
      for (std::size_t k = 0; k < (axis == 2 ? 4 : 5); ++k) {
        const Outcome left =
            runOn(along[axis], RegResampler::Lanczos3, static_cast<int>(k), byRows);
        EXPECT_EQ(left.told, whole.told);
        for (std::size_t i = 0; i < left.values.size(); ++i) {
          const std::size_t slice = axis == 2 ? i / nx % ny : i / nx / ny;
          EXPECT_EQ(left.values[i], slice == k ? untouched : whole.values[i]) << axis << k << i;
        }
      }
    }
  const Outcome whole = runOn({2, 3, 2}, RegResampler::Lanczos3);
  for (int k = 0; k < 13; ++k) {
    const Outcome left = runOn({2, 3, 2}, RegResampler::Lanczos3, k);
    EXPECT_EQ(left.told, whole.told);
    EXPECT_NE(left.values, whole.values) << k;
  }
}

TEST(Progress, AnInterruptionEndsExtremesAndWholeCells) {
  for (const auto filter : {RegResampler::Minimum, RegResampler::Box}) {
    const NmVec3f lengths(filter == RegResampler::Box ? 1.0f : 2.0f, 2.0f, 5.0f);
    const Outcome whole = runOn(lengths, filter);
    const Outcome left = runOn(lengths, filter, 2);
    const std::size_t slice = whole.values.size() / 5;
    for (std::size_t i = 0; i < whole.values.size(); ++i)
      EXPECT_EQ(left.values[i], i < 2 * slice ? whole.values[i] : untouched) << i;
    EXPECT_EQ(left.told.substr(left.told.find(" 3 ")),
              filter == RegResampler::Box ? " 3 stop " : " 3 stop stop ");
  }
}

}  // namespace
