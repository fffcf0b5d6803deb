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

/// Along the world's axes, or turned by a right-angled triangle of 3, 4 and 5 about z and mirrored.
Image headThrough(NmVec3d (*origin)(const NmVec3d&), bool isTurned) {
  const host::Phantom phantom(3);
  const double c = isTurned ? 0.8 * voxel : voxel, s = isTurned ? 0.6 * voxel : 0.0;
  NmMat4d toWorld(c, s, 0, 0, -s, c, 0, 0, 0, 0, isTurned ? -voxel : voxel, 0, 0, 0, 0, 1);
  for (int w = 0; w < 3; ++w)
    toWorld.m[3][w] = -0.5 * (size - 1) * (toWorld.m[0][w] + toWorld.m[1][w] + toWorld.m[2][w]);
  std::vector<float> voxels;
  for (int i = 0; i < size * size * size; ++i) {
    NmVec3d p(i % size, i / size % size, i / size / size);
    toWorld.multVecMatrix(p, p);
    voxels.push_back(static_cast<float>(phantom.value(origin(p))));
  }
  return Image::copy(voxels.data(), {size, size, size}, toWorld);
}

double distance(const NmVec3d& a, const NmVec3d& b) {
  return std::hypot(a.x - b.x, a.y - b.y, a.z - b.z);
}

TEST(NonAffineAccuracy, isAThirdOfTheWarpOrBetterWithinTheHead) {
  const LogCapture log;
  voxreg::NonAffineOptions options;
  options.bricks = NmVec3i(5, 5, 5);
  options.stages = {2};
  options.search.gradientTolerance = 1e-3f;
  const voxreg::Registration found = voxreg::registerNonAffine(
      headThrough([](const NmVec3d& p) { return p; }, true), headThrough(atRest, false), options);
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
