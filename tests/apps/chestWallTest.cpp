#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>

#include "phantoms/chestVolumes.h"
#include "tests/support/LogCapture.h"

namespace {

/// The height of the central slice at which the wall was looked for, as the log tells it.
double searchedSlice(const std::vector<std::string>& lines) {
  double z = NAN;
  for (const std::string& line : lines)
    (void)std::sscanf(line.c_str(), "analyzing coronal profile at dz %lf", &z);
  return z;
}

/// The mask ends 5 mm in front of the wall that it was placed by.
TEST(ChestWallTest, theSearchFindsTheWallOfTenChests) {
  const NmVec2f plain(1.0f, 0.0f);
  const NmVec3i axes(0, 1, 2);
  const NmVec3i signs(-1, -1, 1);  // the phantom's front is at large y
  for (unsigned int seed = 1; seed <= 10; ++seed) {
    SCOPED_TRACE(seed);
    const host::ChestPhantom phantom(seed);
    RegElasticRegistration elastic;
    elastic.reference = chestBefore(phantom, NmVec3l(224, 224, 40), seed).image.volume();
    LogCapture log;
    NmVec3f center;
    NmVec3f weights;
    float inner = 0.0f;
    float outer = 0.0f;
    NmBox3i roi;
    int air = 0;
    int tissue = 0;
    ASSERT_TRUE(
        elastic.findMasking(plain, axes, signs, center, weights, inner, outer, &roi, air, tissue));
    const double z = searchedSlice(log.lines);
    const double below = z - center.z;
    const double front = center.y + std::sqrt(outer * outer - weights.z * below * below);
    EXPECT_NEAR(front - 5.0, phantom.thorax().wall(center.x, z), 8.0);
    EXPECT_GT(roi.ymax, 190) << "the breasts' tips";
  }
}

}  // namespace
