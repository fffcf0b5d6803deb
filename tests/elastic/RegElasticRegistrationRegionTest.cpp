#include <gtest/gtest.h>

#include <string>

#include "elastic/RegElasticRegistration.h"
#include "tests/elastic/shortVolume.h"

namespace {

RegElasticRegistration over(const NmHandle<VlData>& reference) {
  return {nullptr, reference, nullptr, {}, 1};
}

/// Slices of 4 x 2 voxels of size 1, an eighth apart along y, so that a region is 22 long. Marked
/// slices hold one voxel of 1000.
NmBox3i regionOf(const std::string& slices, bool flip = false, int threshold = 1000) {
  const auto n = static_cast<long>(slices.size());
  const ShortVolume source({4, n, 2}, [&](long x, long y, long z) {
    const long k = flip ? n - 1 - y : y;
    return slices[static_cast<std::size_t>(k)] == 'x' && x == 3 && z == 1 ? 1000 : 999;
  });
  source.volume->setBoundingBox({0, 3, 5, 5 + 0.125f * static_cast<float>(n - 1), 0, 1});
  NmBox3i roi;
  EXPECT_TRUE(over(source.volume).findRegionOfInterest(threshold, {0, 1, 2}, flip, roi));
  return roi;
}

std::string marked(long n, long from, long to) {
  std::string slices(static_cast<std::size_t>(n), '.');
  for (long i = from; i <= to; ++i) slices[static_cast<std::size_t>(i)] = 'x';
  return slices;
}

TEST(FindRegionOfInterest, BeginsBeforeARunOfAQuarterOfTheSlices) {
  std::string slices = marked(40, 8, 18);
  EXPECT_EQ(regionOf(slices), NmBox3i(0, 3, 4, 23, 0, 1));
  EXPECT_EQ(regionOf(slices, true), NmBox3i(0, 3, 16, 35, 0, 1));
  EXPECT_EQ(regionOf(slices, false, 1001), NmBox3i(0, 3, 0, 39, 0, 1));
  EXPECT_EQ(regionOf(slices, false, -5), NmBox3i(0, 3, 0, 19, 0, 1));
  // 3 to 6 is too short, the gap at 7 lets the search go on at 9.
  slices.replace(3, 4, "xxxx");
  EXPECT_EQ(regionOf(slices), NmBox3i(0, 3, 4, 23, 0, 1));
  slices[18] = '.';
  EXPECT_EQ(regionOf(slices), NmBox3i(0, 3, 0, 39, 0, 1));
  // Up to the last slice any run is long enough.
  EXPECT_EQ(regionOf(marked(40, 35, 39)), NmBox3i(0, 3, 28, 39, 0, 1));
  EXPECT_EQ(regionOf(marked(40, 35, 38)), NmBox3i(0, 3, 0, 39, 0, 1));
  EXPECT_EQ(regionOf(marked(256, 100, 163)), NmBox3i(0, 3, 96, 115, 0, 1));
  EXPECT_EQ(regionOf(marked(300, 100, 174)), NmBox3i(0, 3, 88, 103, 0, 1));
}

TEST(FindRegionOfInterest, FollowsTheAxes) {
  const ShortVolume source({40, 4, 2},
                           [](long x, long y, long) { return x >= 8 && x < 19 && y == 3; });
  source.volume->setBoundingBox({0, 4.875f, 0, 3, 0, 2});
  NmBox3i roi;
  EXPECT_TRUE(over(source.volume).findRegionOfInterest(1, {1, 0, 2}, false, roi));
  EXPECT_EQ(roi, NmBox3i(4, 23, 0, 3, 0, 1));
  // The faster axis has 4 voxels, those along axes.x are twice as large: 44 slices.
  EXPECT_TRUE(over(source.volume).findRegionOfInterest(1, {2, 0, 1}, false, roi));
  EXPECT_EQ(roi, NmBox3i(4, 39, 0, 3, 0, 1));
}

TEST(FindRegionOfInterest, LeavesAShallowVolumeWhole) {
  const NmHandle<VlMemoryData> bytes = makeVolume({5, 4, 4}, NmPrimType::UnsignedChar);
  NmBox3i roi;
  EXPECT_TRUE(over(bytes).findRegionOfInterest(0, {0, 1, 2}, false, roi));
  EXPECT_EQ(roi, NmBox3i(0, 4, 0, 3, 0, 3));
}

TEST(ScanCoronalSlices, FlagsAsManySlicesAsItIsAskedFor) {
  unsigned short voxels[6] = {0, 9, 5, 4, 65535, 0};
  NmDArray<bool> flags;
  const RegElasticRegistration elastic;
  elastic.scanCoronalSlices(voxels, 1, 2, 0, 2, 3, 1, 5, true, flags);
  EXPECT_TRUE(flags.size == 3 && flags[0] && flags[1] && flags[2]);
  elastic.scanCoronalSlices(voxels, 1, 2, 0, 2, 3, 1, 6, true, flags);
  EXPECT_TRUE(flags[0] && !flags[1] && flags[2]);
  elastic.scanCoronalSlices(static_cast<unsigned short*>(nullptr), 1, 2, 0, 2, 4, 1, 0, true,
                            flags);
  EXPECT_TRUE(flags.size == 4 && !flags[0] && !flags[3]);
}

}  // namespace
