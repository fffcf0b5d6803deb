#include <gtest/gtest.h>

#include <algorithm>

#include "elastic/RegElasticRegistration.h"
#include "tests/elastic/shortVolume.h"

namespace {

const RegElasticRegistration elastic;

// Every coordinate is a multiple of a quarter, so that all arithmetic is exact.
const NmVec3l dims(7, 6, 9);
const NmBox3f box(-3, 9, 1, 3.5f, -2, 6);
const NmVec3f spacing(2, 0.5f, 1);

int voxelAt(long x, long y, long z) {
  return static_cast<int>((x * 7919 + y * 104729 + z * 1299709) % 65521);
}

float naiveMean(const NmVec3i& axes, long index, float a, float b, float radius) {
  double sum = 0;
  int count = 0;
  long at[3] = {};
  at[axes.y] = index;
  for (at[axes.z] = 0; at[axes.z] < dims[axes.z]; ++at[axes.z])
    for (at[axes.x] = 0; at[axes.x] < dims[axes.x]; ++at[axes.x]) {
      const float da = static_cast<float>(at[axes.x]) * spacing[axes.x] + box.min(axes.x) - a;
      const float db = static_cast<float>(at[axes.z]) * spacing[axes.z] + box.min(axes.z) - b;
      if (da * da + db * db > radius * radius) continue;
      sum += voxelAt(at[0], at[1], at[2]);
      ++count;
    }
  return static_cast<float>(sum) / static_cast<float>(std::max(count, 1));
}

TEST(CoronalProfile, IsTheMeanInACylinderAlongAnyAxis) {
  const ShortVolume source(dims, voxelAt);
  ASSERT_TRUE(source.volume->setBoundingBox(box).isOk());
  NmDArray<float> profile;
  NmVec3i axes(0, 1, 2);
  int order[3] = {0, 1, 2};
  do {
    axes = NmVec3i(order[0], order[1], order[2]);
    for (const bool flip : {false, true})
      for (const NmVec3f& disk : {NmVec3f(2, 2, 2.5f), NmVec3f(-3.25f, 1.75f, 5), NmVec3f(0, 0, 99),
                                  NmVec3f(2.25f, 2.25f, 0.25f), NmVec3f(1e9f, 2, 5)}) {
        ASSERT_TRUE(elastic.getCoronalProfile(source.volume, {0.5f, -100}, axes, flip, disk.x,
                                              disk.y, disk.z, profile));
        const long n = dims[axes.y];
        ASSERT_EQ(profile.size, n);
        for (long i = 0; i < n; ++i)
          EXPECT_EQ(profile[flip ? n - 1 - i : i],
                    naiveMean(axes, i, disk.x, disk.y, disk.z) * 0.5f - 100)
              << axes.x << axes.y << axes.z << flip << i << " radius " << disk.z;
      }
  } while (std::next_permutation(order, order + 3));
  EXPECT_FALSE(elastic._getCoronalProfile(static_cast<unsigned short*>(nullptr), {1, 0}, {2, 3, 2},
                                          box, {0, 1, 2}, false, 0, 0, 5, profile));
  EXPECT_EQ(profile.size, 3);
  source.volume->setBoundingBox({0, 1, 0, 1, 2, 2});
  EXPECT_FALSE(
      elastic.getCoronalProfile(source.volume, {1, 0}, {0, 1, 2}, false, 0, 0, 5, profile));
}

}  // namespace
