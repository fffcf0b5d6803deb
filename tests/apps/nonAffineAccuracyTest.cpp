#include <gtest/gtest.h>

#include <cmath>

#include "phantoms/Phantom.h"
#include "tests/support/LogCapture.h"

namespace {

using voxreg::Image;

constexpr int size = 36;
constexpr double voxel = 192.0 / size;  // the head, and a little air

/// The place in the head at rest of a place in the warped head, some 5 mm aside.
NmVec3d atRest(const NmVec3d& p) {
  return {p.x + 3.0 + 3.0 * std::sin(p.y / 30.0), p.y - 2.0 + 3.0 * std::sin(p.z / 35.0),
          p.z + 1.5 + 3.0 * std::cos(p.x / 40.0)};
}

Image headThrough(NmVec3d (*origin)(const NmVec3d&)) {
  const host::Phantom phantom(3);
  const double first = -0.5 * voxel * (size - 1);
  std::vector<float> voxels;
  for (int k = 0; k < size; ++k)
    for (int j = 0; j < size; ++j)
      for (int i = 0; i < size; ++i)
        voxels.push_back(static_cast<float>(
            phantom.value(origin({first + voxel * i, first + voxel * j, first + voxel * k}))));
  return Image::copy(voxels.data(), {size, size, size},
                     {voxel, 0, 0, 0, 0, voxel, 0, 0, 0, 0, voxel, 0, first, first, first, 1});
}

double distance(const NmVec3d& a, const NmVec3d& b) {
  return std::hypot(a.x - b.x, a.y - b.y, a.z - b.z);
}

TEST(NonAffineAccuracy, isAThirdOfTheWarpOrBetterWithinTheHead) {
  const LogCapture log;
  voxreg::NonAffineOptions options;
  options.bricks = NmVec3i(5, 5, 5);
  const voxreg::Registration found = voxreg::registerNonAffine(
      headThrough([](const NmVec3d& p) { return p; }), headThrough(atRest), options);
  ASSERT_TRUE(found) << found.reason.message;
  double before = 0.0, after = 0.0;
  for (double z = -60; z <= 60; z += 6)
    for (double y = -60; y <= 60; y += 6)
      for (double x = -60; x <= 60; x += 6) {
        const NmVec3d warped(x, y, z), rest = atRest(warped);
        if (distance(rest, NmVec3d()) > 60) continue;
        before += distance(rest, warped);
        after += distance(found.transform(rest), warped);
      }
  EXPECT_LT(after, before / 3.0) << after / before;
}

}  // namespace
