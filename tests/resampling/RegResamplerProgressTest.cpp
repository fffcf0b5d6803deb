#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "foundation/NmProgressInterface.h"
#include "resampling/RegResampler.h"
#include "tests/resampling/volumeValues.h"
#include "tests/support/RowVolume.h"

namespace {

/// Notes what it is told and interrupts at chosen polls, counted from 0.
class Recorder : public NmProgressInterface {
 public:
  std::string told;
  int polls = 0;
  int interruptedFrom = -1;
  int interruptedTo = -1;

  void startWorking(int steps, const std::string& text) override {
    told += '<';
    told += std::to_string(steps);
    told += text;
  }
  void stopWorking() override { told += ">"; }
  void setProgressValue(int value) override {
    told += ' ';
    told += std::to_string(value);
  }
  bool wasInterrupted() override {
    const int poll = polls++;
    return poll >= interruptedFrom && poll <= interruptedTo;
  }
};

constexpr float untouched = 77.0f;

struct Outcome {
  std::string told;
  std::vector<float> values;
};

/// Resamples 3 x 4 x 5 voxels onto a target that is `untouched` before.
Outcome runOn(const NmVec3f& lengths, RegResampler::FilterType filter, int interrupted = -1,
              bool byRows = false) {
  const NmHandle<VlMemoryData> voxels =
      volumeOf({3, 4, 5}, NmPrimType::Float, 1, generate(60, [](long i) { return i % 13; }));
  NmHandle<VlData> source = voxels;
  if (byRows) source = new RowVolume(voxels);
  const NmVec3l dims(static_cast<long>(lengths.x), static_cast<long>(lengths.y),
                     static_cast<long>(lengths.z));
  const std::vector<float> before(static_cast<std::size_t>(dims.x * dims.y * dims.z), untouched);
  NmHandle<VlData> result = volumeOf(dims, NmPrimType::Float, 1, before);
  Recorder recorder;
  recorder.interruptedFrom = recorder.interruptedTo = interrupted;
  RegResampler resampler;
  resampler.progress = &recorder;
  EXPECT_TRUE(resampler.doResample(source, result, lengths, nullptr, {}, filter, 0.0f, 1));
  EXPECT_TRUE(isUnlocked(source) && isUnlocked(result));
  return {recorder.told, valuesOf(*result)};
}

TEST(Progress, CountsOuterIterationsThroughAllPasses) {
  EXPECT_EQ(runOn({2, 3, 2}, RegResampler::Bell).told,
            "<13Resampling ... 1 2 3 4 5 5 6 7 8 9 9 10 11>");
  EXPECT_EQ(runOn({3, 3, 2}, RegResampler::Bell).told, "<8Resampling ... 1 2 3 4 5 5 6 7>");
  EXPECT_EQ(runOn({3, 4, 7}, RegResampler::Bell, -1, true).told, "<4Resampling ... 1 2 3 4>");
  EXPECT_EQ(runOn({3, 4, 5}, RegResampler::Bell).told, "");
  EXPECT_EQ(runOn({1, 2, 5}, RegResampler::Box).told, "<10Resampling ... 1 2 3 4 5>");
  EXPECT_EQ(runOn({2, 2, 3}, RegResampler::Maximum).told, "<12Resampling ...<3 1 2 3>>");
}

// An interrupted slice is left out, and the next one asked about again.
TEST(Progress, AnInterruptionLeavesSlicesOut) {
  const NmVec3f along[3] = {{2, 4, 5}, {3, 7, 5}, {3, 4, 3}};
  for (int axis = 0; axis < 3; ++axis)
    for (const bool byRows : {false, true}) {
      const Outcome whole = runOn(along[axis], RegResampler::Lanczos3);
      for (int k = 0; k < (axis == 2 ? 4 : 5); ++k) {
        const Outcome left = runOn(along[axis], RegResampler::Lanczos3, k, byRows);
        EXPECT_EQ(left.told, whole.told);
        const int nx = static_cast<int>(along[axis].x), ny = static_cast<int>(along[axis].y);
        for (int i = 0; i < static_cast<int>(left.values.size()); ++i) {
          const int slice = axis == 2 ? i / nx % ny : i / nx / ny;
          const auto at = static_cast<std::size_t>(i);
          EXPECT_EQ(left.values[at], slice == k ? untouched : whole.values[at]) << axis << k << i;
        }
      }
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
    EXPECT_EQ(left.told.substr(left.told.find(" 3")), filter == RegResampler::Box ? " 3>" : " 3>>");
  }
}

// In a zoom of three passes an interruption anywhere is no failure, and no later poll is missed.
TEST(Progress, EveryPollOfAZoomMayInterrupt) {
  const Outcome whole = runOn({2, 3, 2}, RegResampler::Lanczos3);
  for (int k = 0; k < 13; ++k) {
    const Outcome left = runOn({2, 3, 2}, RegResampler::Lanczos3, k);
    EXPECT_EQ(left.told, whole.told);
    EXPECT_NE(left.values, whole.values) << k;
  }
}

}  // namespace
