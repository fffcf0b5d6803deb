#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <type_traits>

#include "functional/kernels/walk.h"
#include "tests/support/voxelTypes.h"
#include "variational/pyramid/body.h"
#include "variational/pyramid/cubicDoubling.h"
#include "variational/pyramid/levelVolume.h"

namespace {

using namespace voxreg::detail;

constexpr float nan = std::numeric_limits<float>::quiet_NaN();

std::size_t indexIn(const NmVec3i& n, int x, int y, int z) {
  return static_cast<std::size_t>(x + n.x * (y + n.y * z));
}

/// Calls f(x, y, z) for each voxel.
template <class F>
void forEachVoxel(const NmVec3i& n, F f) {
  for (int z = 0; z < n.z; ++z)
    for (int y = 0; y < n.y; ++y)
      for (int x = 0; x < n.x; ++x) f(x, y, z);
}

/// A volume of unit voxels from the origin on.
template <class F>
LevelVolume levelOf(const NmVec3i& n, F field) {
  const auto end = [](int count) { return static_cast<float>(count - 1); };
  LevelVolume volume = {{}, VolumeFrame(n, NmBox3f(0, end(n.x), 0, end(n.y), 0, end(n.z)))};
  forEachVoxel(
      n, [&](int x, int y, int z) { volume.voxels.push_back(static_cast<float>(field(x, y, z))); });
  return volume;
}

TEST(ReducedVolume, HoldsTheMeansOfTheVoxelsThatCount) {
  const NmVec3i n(11, 7, 5);
  const NmVec3i factors(2, 3, 1);
  forEachVoxelType([&]<class T>() {
    std::vector<T> voxels;
    std::vector<unsigned char> mask;
    forEachVoxel(n, [&](int x, int y, int z) {
      voxels.push_back(static_cast<T>((37 * x + 11 * y * y + 5 * z) % 200));
      mask.push_back(x / 2 == 2 && y < 3 ? 0 : (x + y + z) % 4 != 0);
    });
    if constexpr (std::is_floating_point_v<T>) {
      voxels[indexIn(n, 1, 1, 1)] = std::numeric_limits<T>::quiet_NaN();
      voxels[indexIn(n, 6, 4, 2)] = std::numeric_limits<T>::infinity();
    }
    for (const unsigned char* const chosen : {static_cast<unsigned char*>(nullptr), mask.data()}) {
      const LevelVolume level = reducedVolume(
          {voxels.data(), voxelTypeIndex<T>, VolumeFrame(n, NmBox3f(0, 10, 3, 15, -8, 8)), chosen},
          factors);
      ASSERT_EQ(level.frame.dims, NmVec3i(5, 2, 5));
      EXPECT_EQ(level.frame.box, NmBox3f(0.5f, 8.5f, 5, 11, -8, 8));
      forEachVoxel(level.frame.dims, [&](int x, int y, int z) {
        double sum = 0.0;
        double count = 0.0;
        forEachVoxel(factors, [&](int i, int j, int k) {
          const std::size_t at = indexIn(n, 2 * x + i, 3 * y + j, z + k);
          const auto value = static_cast<double>(voxels[at]);
          if (!std::isfinite(value) || (chosen != nullptr && chosen[at] == 0)) return;
          sum += value;
          count += 1.0;
        });
        const float found = level.voxels[indexIn(level.frame.dims, x, y, z)];
        if (count > 0.0)
          EXPECT_EQ(found, static_cast<float>(sum / count)) << x << ' ' << y << ' ' << z;
        else
          EXPECT_TRUE(std::isnan(found)) << x << ' ' << y << ' ' << z;
      });
    }
  });
}

TEST(DoubledVolume, KeepsVoxelsAndFollowsCubicsBetweenThem) {
  const auto cubic = [](double x, double y, double z) {
    return 4.0 + 0.001 * std::pow(x - 9.0, 3) - 0.03 * (y - 20.0) * (y - 20.0) + 0.5 * z +
           0.002 * (x - 20.0) * (y - 20.0);
  };
  const LevelVolume volume = levelOf({41, 39, 3}, cubic);
  const LevelVolume doubled = doubledVolume(volume);
  ASSERT_EQ(doubled.frame.dims, NmVec3i(81, 77, 3));
  EXPECT_EQ(doubled.frame.box, volume.frame.box);
  forEachVoxel(doubled.frame.dims, [&](int x, int y, int z) {
    const float found = doubled.voxels[indexIn(doubled.frame.dims, x, y, z)];
    if (x % 2 == 0 && y % 2 == 0) {
      EXPECT_EQ(found, volume.voxels[indexIn(volume.frame.dims, x / 2, y / 2, z)]);
    }
    // Mirrored ends matter less by 0.27 from voxel to voxel.
    if (x < 20 || x > 60 || y < 20 || y > 56) return;
    EXPECT_NEAR(found, cubic(0.5 * x, 0.5 * y, z), 1e-4) << x << ' ' << y << ' ' << z;
  });
}

TEST(DoubledVolume, IsUnknownNextToVoxelsThatDoNotCount) {
  LevelVolume volume = levelOf({9, 8, 7}, [](int x, int y, int z) { return x + 2 * y - z; });
  const NmVec3i hole(3, 0, 6);
  volume.voxels[indexIn(volume.frame.dims, hole.x, hole.y, hole.z)] = nan;
  const LevelVolume doubled = doubledVolume(volume);
  ASSERT_EQ(doubled.frame.dims, NmVec3i(17, 15, 13));
  forEachVoxel(doubled.frame.dims, [&](int x, int y, int z) {
    const bool isNear = std::abs(x - 2 * hole.x) < 2 && std::abs(y - 2 * hole.y) < 2 &&
                        std::abs(z - 2 * hole.z) < 2;
    EXPECT_EQ(std::isnan(doubled.voxels[indexIn(doubled.frame.dims, x, y, z)]), isNear)
        << x << ' ' << y << ' ' << z;
  });
}

TEST(Body, ItsThresholdIsATenthOfTheWayBetweenThePercentiles) {
  LevelVolume volume = levelOf({101, 1, 1}, [](int x, int, int) { return x; });
  volume.voxels[0] = -1e6f;
  volume.voxels[100] = 1e6f;
  EXPECT_FLOAT_EQ(bodyThreshold(volume.voxels), 2.0f + 0.1f * 96.0f);
  volume.voxels.assign(101, nan);
  EXPECT_TRUE(std::isnan(bodyThreshold(volume.voxels)));
}

TEST(Body, VoxelsCountUpToTwoVoxelsAroundIt) {
  const NmVec3i n(12, 8, 6);
  const NmVec3i body(9, 2, 1);
  LevelVolume volume = levelOf(n, [&](int x, int y, int z) {
    return x == body.x && y == body.y && z == body.z ? 50.0 : 10.0;
  });
  skipFarFromBody(10.0f, volume);
  const std::vector<IndexSpan> spans = countingSpans(volume);
  forEachVoxel(n, [&](int x, int y, int z) {
    const bool isNear =
        std::abs(x - body.x) <= 2 && std::abs(y - body.y) <= 2 && std::abs(z - body.z) <= 2;
    EXPECT_EQ(std::isfinite(volume.voxels[indexIn(n, x, y, z)]), isNear);
    const IndexSpan& span = spans[static_cast<std::size_t>(y + n.y * z)];
    EXPECT_EQ(x >= span.first && x < span.end, isNear);
  });
}

}  // namespace
