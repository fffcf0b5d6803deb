#include "commands/targetError.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace {

TEST(Percentile, countsFromTheSmallestAndPassesOverWhatIsNoNumber) {
  host::NiftiVolume volume =
      host::newVolume(NmVec3l(102, 1, 1), NmBox3f(0, 101, 0, 1, 0, 1), NmPrimType::Float);
  std::vector<float> row(102, NAN);
  ASSERT_TRUE(volume.image.volume()->lock(true)->putRow(-1, 0, 0, row.data()).isOk());
  EXPECT_EQ(voxreg::percentile(*volume.image.volume(), 0.5), 0.0f);
  for (int i = 0; i <= 100; ++i)
    row[static_cast<std::size_t>(i)] = 1.001f * static_cast<float>(50 - i);
  ASSERT_TRUE(volume.image.volume()->lock(true)->putRow(-1, 0, 0, row.data()).isOk());
  EXPECT_EQ(voxreg::percentile(*volume.image.volume(), 0.0), 1.001f * -50.0f);
  EXPECT_EQ(voxreg::percentile(*volume.image.volume(), 0.49), 1.001f * -1.0f);
  EXPECT_EQ(voxreg::percentile(*volume.image.volume(), 0.99), 1.001f * 49.0f);
}

TEST(TargetError, isMeasuredWhereTheReferenceShowsTheHead) {
  // Two voxels of the head at (10, 0, 0) and (30, 0, 0); one a tenth as bright, and background.
  host::NiftiVolume reference =
      host::newVolume(NmVec3l(5, 2, 2), NmBox3f(0, 40, 0, 1, 0, 1), NmPrimType::Float);
  const float row[5] = {0, 100, 10, 100, 0};
  ASSERT_TRUE(reference.image.volume()->lock(true)->putRow(-1, 0, 0, row).isOk());

  const NmMat4d truth(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 4, 5, 6, 1);
  // In the reference's world the result stretches x by a tenth: 1 mm at the first, 3 at the second.
  NmMat4d result = truth;
  result.multRight(NmMat4d(1.1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1));
  const host::PlaceError error = host::targetError(reference, result, truth);
  EXPECT_NEAR(error.mean, 2.0, 1e-9);
  EXPECT_NEAR(error.percentile95, 3.0, 1e-9);
  EXPECT_NEAR(error.maximum, 3.0, 1e-9);
}

}  // namespace
