#include "missingVoxels.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "information.h"
#include "voxelsOf.h"

namespace {

using host::NiftiVolume;

NiftiVolume rowOf(const std::vector<float>& values, NmPrimType type = NmPrimType::Float) {
  const auto n = static_cast<long>(values.size());
  NiftiVolume volume =
      host::newVolume(NmVec3l(n, 1, 1), NmBox3f(0, static_cast<float>(n - 1), 0, 1, 0, 1), type);
  EXPECT_TRUE(volume.data->lock(true)->putRow(-1, 0, 0, values.data()).isOk());
  return volume;
}

constexpr float infinity = std::numeric_limits<float>::infinity();

TEST(MissingVoxels, countAsTheSmallestOfTheOthers) {
  const NiftiVolume volume = rowOf({3, infinity, -2, NAN, 8, -infinity});
  EXPECT_EQ(host::countMissing(volume), 3);
  const auto range = host::finiteRange(volume);
  ASSERT_TRUE(range);
  EXPECT_EQ(range->smallest, -2.0);
  EXPECT_EQ(range->largest, 8.0);
  EXPECT_EQ(voxelsOf(*host::withMissingFilled(volume).data),
            (std::vector<float>{3, -2, -2, -2, 8, -2}));
}

TEST(MissingVoxels, leaveAVolumeAloneThatHasNoneOrNothingElse) {
  for (const NiftiVolume& volume : {rowOf({1, 2, 3}), rowOf({NAN, NAN, infinity})})
    EXPECT_EQ(host::withMissingFilled(volume).data.get(), volume.data.get());
}

TEST(LackOfInformation, tellsWhichVolumeShowsNothing) {
  const NiftiVolume good = rowOf({0, 1, 2, 3, 4, 5});
  struct Case {
    std::vector<float> reference;
    const char* metric;
    std::vector<float> range;  // of the reference
    std::string expected;
  };
  const Case cases[] = {
      {{0, 1, 2, 3}, "nmi", {}, ""},
      {{5, 5, 5, 5}, "nmi", {}, "all voxels of the reference are 5"},
      {{NAN, 5, infinity, 5}, "msd", {}, "all voxels of the reference are 5"},
      {{NAN, infinity}, "cr", {}, "the reference has no finite voxel"},
      {{0, 0, 200, 200}, "nmi", {50, 100}, ""},  // it tells the two apart
      {{0, 0, 200, 200}, "cr", {50, 100}, "no voxels of the reference differ between 50 and 100"},
      {{0, 70, 200, 70}, "cr", {50, 100}, "no voxels of the reference differ between 50 and 100"},
      {{0, 70, 80, 200}, "cr", {50, 100}, ""},
      {{0, 1, 2, 3}, "mi", {50, 100}, "no voxels of the reference differ between 50 and 100"},
      {{0, 1, 2, 3}, "msd", {50, 100}, ""},
  };
  for (const Case& tried : cases) {
    host::MetricSettings metric;
    metric.name = tried.metric;
    metric.referenceRange = tried.range;
    EXPECT_EQ(host::lackOfInformation(rowOf(tried.reference), good, metric), tried.expected);
    metric.modelRange.swap(metric.referenceRange);
    const std::string lack = host::lackOfInformation(good, rowOf(tried.reference), metric);
    EXPECT_EQ(lack.empty(), tried.expected.empty());
    EXPECT_EQ(lack.find("reference"), std::string::npos);
  }
}

}  // namespace
