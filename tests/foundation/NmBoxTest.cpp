#include "foundation/NmBox.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

namespace {

TEST(NmBox, DefaultsAreEmptyAndStoredInOrder) {
  const NmBox3f box;
  const float expected[] = {0.0f, -1.0e10f, 0.0f, -1.0e10f, 0.0f, -1.0e10f};
  EXPECT_EQ(std::memcmp(&box, expected, sizeof expected), 0);
  EXPECT_EQ(NmBox3i(), NmBox3i(0, -1, 0, -1, 0, -1));
}

TEST(NmBox, HasAVolumeAndVoxelSizes) {
  EXPECT_EQ(NmBox3f(-1, 1, 0, 3, 2, 6).volume(), 24.0f);
  EXPECT_EQ(NmBox3f(0, 1, 5, 5, 0, 1).volume(), 0.0f);
  EXPECT_EQ(NmBox3f(0, 1, 1, 0, 1, 0).volume(), -1.0f);
  EXPECT_EQ(NmBox3f(0, 1, std::numeric_limits<float>::quiet_NaN(), 1, 0, 1).volume(), -1.0f);
  EXPECT_EQ(NmBox3f(0, 9, -2, 2, 1, 4).getVoxelSize({10, 5, 1}), NmVec3f(1, 1, 3));
}

TEST(NmBox, EmptyBoxesAreEqualAndOthersByTheirValues) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const NmBox3f box(0, 1, 2, 3, 4, 5);
  EXPECT_EQ(box, NmBox3f(-0.0f, 1, 2, 3, 4, 5));
  EXPECT_NE(box, NmBox3f(0, 1, 2, 3, 4, std::nextafter(5.0f, 6.0f)));
  EXPECT_NE(box, NmBox3f(0, 1, 2, 3, 4, 3));
  EXPECT_EQ(NmBox3f(), NmBox3f(7, 6, nan, 0, 0, 1));
  const NmBox3f unknown(0, 1, 0, nan, 0, 1);
  EXPECT_NE(unknown, NmBox3f(unknown));
}

}  // namespace
