#include <algorithm>
#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "elastic/RegElasticRegistration.h"
#include "tests/elastic/shortVolume.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/LogCapture.h"

namespace {

using Lines = std::vector<std::string>;

/// What findMasking finds in one reference.
struct Masking {
  RegElasticRegistration elastic;
  NmVec3f center, weights;
  float inner = 0, outer = 0;
  NmBox3i roi;
  int background = -7, lowestMinHalf = -7;

  explicit Masking(const NmHandle<VlData>& reference)
      : elastic{nullptr, reference, nullptr, {}, 1} {}

  bool find(const NmVec2f& rescale, const NmVec3i& axes, const NmVec3i& signs) {
    return elastic.findMasking(rescale, axes, signs, center, weights, inner, outer, &roi,
                               background, lowestMinHalf);
  }
};

/// Physical value at a depth behind the front: air, skin at 10, the first maximum at 12, then
/// layers with minima at 20 and 42. The maximum at 50 is behind the last minimum.
double layerAt(long depth) {
  const double knots[][2] = {{0, 0},    {9, 0},    {12, 1000}, {20, 400},
                             {30, 900}, {42, 300}, {50, 800},  {99, 0}};
  int k = 0;
  while (static_cast<double>(depth) > knots[k + 1][0]) ++k;
  const double share = (static_cast<double>(depth) - knots[k][0]) / (knots[k + 1][0] - knots[k][0]);
  return knots[k][1] + share * (knots[k + 1][1] - knots[k][1]);
}

/// Two bright spots: one near the centre, and a brighter one farther down the body. A disk of
/// radius 5 holds a voxel and its four neighbours, so their profiles are 1.3 and 1.6 times the
/// others'.
double gainAt(long across, long along) {
  const auto isNear = [&](long a, long b, long reach) {
    return std::abs(across - a) + std::abs(along - b) <= reach;
  };
  return isNear(4, -3, 0)    ? 1.5
         : isNear(4, -3, 1)  ? 1.25
         : isNear(-4, -8, 0) ? 2.0
         : isNear(-4, -8, 1) ? 1.5
                             : 1.0;
}

/// Half the number of voxels on either side of the centre; they are 5 units large.
constexpr long halfAcross = 8;
constexpr long halfAlong = 12;
constexpr long depth = 100;
const NmVec2f rescale(2, -100);

/// A slab of these layers, 17 voxels across, 100 deep and 25 along the body.
ShortVolume makeBody(const NmVec3i& axes, const NmVec3i& signs, NmBox3f& box) {
  NmVec3l dims;
  dims[axes.x] = 2 * halfAcross + 1;
  dims[axes.y] = depth;
  dims[axes.z] = 2 * halfAlong + 1;
  ShortVolume body(dims, [&](long x, long y, long z) {
    const NmVec3l at(x, y, z);
    const long behind = signs.y > 0 ? at[axes.y] : depth - 1 - at[axes.y];
    const double gain = gainAt(at[axes.x] - halfAcross, (at[axes.z] - halfAlong) * signs.z);
    return std::lround(layerAt(behind) * gain + 100) / 2;
  });
  NmVec3f extent;
  extent[axes.x] = 10 * halfAcross;
  extent[axes.y] = depth - 1;
  extent[axes.z] = 10 * halfAlong;
  box = NmBox3f(3, 3 + extent.x, -50, -50 + extent.y, 7, 7 + extent.z);
  body.volume->setBoundingBox(box);
  return body;
}

TEST(FindMasking, FindsTheChestWallInAnyOrientation) {
  int order[3] = {0, 1, 2};
  do
    for (const int signY : {1, -1})
      for (const int signZ : {1, -1}) {
        const NmVec3i axes(order[0], order[1], order[2]);
        const NmVec3i signs(1, signY, signZ);
        NmBox3f box;
        const ShortVolume body = makeBody(axes, signs, box);
        LogCapture log;
        Masking mask(body.volume);
        ASSERT_TRUE(mask.find(rescale, axes, signs));
        // The wall is 42 deep. The ellipsoid's centre is 11 below the brighter spot at -40, and its
        // surface passes 5 in front of the wall at the profile's position, -15.
        const double behind = std::sqrt(205.0 * 205 - 1.25 * 36 * 36) + 42 - 5;
        EXPECT_EQ(mask.center[axes.x], box.min(axes.x) + 40);
        EXPECT_NEAR(mask.center[axes.y],
                    signY > 0 ? box.min(axes.y) + behind : box.max(axes.y) - behind, 1e-3);
        EXPECT_EQ(mask.center[axes.z], box.min(axes.z) + 60 - static_cast<float>(signZ) * 51);
        EXPECT_TRUE(mask.inner == 192 && mask.outer == 205);
        EXPECT_TRUE(mask.weights[axes.x] == 1.1f && mask.weights[axes.y] == 1 &&
                    mask.weights[axes.z] == 1.25f);
        EXPECT_TRUE(mask.background == 1 && mask.lowestMinHalf == 150);
        // Slices from 10 on reach 500; the region is 58 or 86 long.
        const int last = axes.x < axes.z ? 59 : 87;
        const int low = signY > 0 ? 4 : 99 - last;
        const int high = signY > 0 ? last : 95;
        EXPECT_TRUE(mask.roi.min(axes.y) == low && mask.roi.max(axes.y) == high);
        EXPECT_TRUE(mask.roi.min(axes.z) == 0 && mask.roi.max(axes.z) == 2 * halfAlong);
        const std::string y = std::to_string(static_cast<int>(box.min(axes.y)) + 12);
        EXPECT_EQ(log.lines[0],
                  "maximum 1600.0 at dx -20.0, dz -40.0 from center, y coord " + y + ".0 ");
        EXPECT_EQ(log.lines[1], "analyzing coronal profile at dz -15.0 from central slice");
        EXPECT_EQ(log.lines.back(), "threshold 500, ROI: ymin " + std::to_string(low) + ", ymax " +
                                        std::to_string(high));
        EXPECT_TRUE(log.errors.empty());
      }
  while (std::next_permutation(order, order + 3));
}

TEST(FindMasking, LeavesUsableDefaultsWhereThereIsNoBody) {
  constexpr const char* noWall = "findMasking: Didn't find chest wall in coronal profile.";
  const NmVec3l dims(24, 64, 24);
  std::vector<ShortVolume> references;
  references.emplace_back(dims, [](long, long, long) { return 0; });
  references.emplace_back(dims, [](long, long, long) { return 500; });
  for (const unsigned seed : {1u, 2u, 3u}) {
    std::mt19937 random(seed);
    references.emplace_back(dims, [&](long, long, long) { return random() % 50; });
    references.emplace_back(dims, [&](long, long, long) { return random() % 4096; });
    std::normal_distribution<double> normal(0, 20);
    references.emplace_back(dims, [&](long, long, long) { return std::max(0.0, normal(random)); });
  }
  for (const ShortVolume& reference : references)
    for (const float size : {1.0f, 5.0f})
      for (const NmVec2f& slope : {NmVec2f(1, 0), NmVec2f(1, -25), NmVec2f(0, 1)}) {
        reference.volume->setBoundingBox({0, 23 * size, 0, 63 * size, 0, 23 * size});
        LogCapture log;
        Masking mask(reference.volume);
        EXPECT_FALSE(mask.find(slope, {0, 1, 2}, {1, -1, 1}));
        EXPECT_EQ(log.error(), noWall);
        EXPECT_EQ(mask.center, NmVec3f(11.5f * size, 31.5f * size - 205, 11.5f * size));
        EXPECT_EQ(mask.weights, NmVec3f(1, 1, 1));
        EXPECT_TRUE(mask.inner == 192 && mask.outer == 205);
        EXPECT_EQ(mask.roi, NmBox3i(0, 23, 0, 63, 0, 23));
        EXPECT_TRUE(mask.background == 1 && mask.lowestMinHalf == 1);
      }
}

TEST(FindMasking, LeavesNothingBehindWhereMemoryRunsOut) {
  const LogCapture log;
  NmBox3f box;
  const ShortVolume body = makeBody({0, 1, 2}, {1, 1, 1}, box);
  Masking mask(body.volume);
  const auto find = [&] { return mask.find(rescale, {0, 1, 2}, {1, 1, 1}); };
  ASSERT_TRUE(find());  // what a thread makes once stays
  bool isFound = false;
  failEachAllocation([&] { isFound = find(); },
                     [&](bool hasFailed, bool) {
                       EXPECT_TRUE(isFound || hasFailed);
                       EXPECT_NE(body.volume->tryLock(true), nullptr);
                     });
}

}  // namespace
