#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "functional/RegFunctional.h"
#include "metrics/RegCorrelationRatio.h"
#include "metrics/RegMeanSquaredDifference.h"
#include "metrics/RegNormMutualInformation.h"
#include "tests/support/LogCapture.h"
#include "tests/support/volumes.h"
#include "transforms/RegNonAffineTransform.h"

namespace {

using Flags = std::vector<unsigned char>;

Flags copyOf(const NmDArray<unsigned char>& flags) {
  return Flags(flags.data, flags.data + flags.size);
}

const NmVec3i dims(14, 9, 6);
const NmBox3f box(-3, 10, 2, 18, 1, 1.7f);

/// A reference of zeros with a few voxels of 5, which the metrics take, and 7.
class FindEmptyBricks : public testing::Test {
 protected:
  std::vector<short> voxels = std::vector<short>(14 * 9 * 6, 0);
  NmHandle<VlMemoryData> volume = wrapVolume({14, 9, 6}, NmPrimType::Short, 1, voxels.data());
  LogCapture log;

  std::unique_ptr<RegFunctional> functionalOf(RegMetric* metric) {
    NmDArray<NmHandle<VlData>> volumes;
    const NmHandle<VlData> only = volume;
    volumes.insert(0, 1, &only);
    EXPECT_TRUE(volume->setBoundingBox(box).isOk());
    log.lines.clear();
    return std::make_unique<RegFunctional>(volumes, volumes, -1, true, nullptr, metric, nullptr, 3,
                                           1);
  }

  /// A voxel of 5 within one axis of a brick, in single precision.
  static bool isWithin(const RegNonAffineTransform& grid, int axis, int brick, int voxel) {
    const float size = grid.referenceBox.extent(axis) / static_cast<float>(grid.numBricks[axis]);
    const float start = static_cast<float>(brick) * size + grid.referenceBox.min(axis);
    const auto last = static_cast<float>(dims[axis] - 1);
    const auto place = [&](float world) {
      return std::clamp((world - box.min(axis)) / (box.extent(axis) / last), 0.0f, last);
    };
    const auto at = static_cast<float>(voxel);
    return place(start) <= at && at <= place(start + size);
  }

  bool isEmpty(const RegNonAffineTransform& grid, int i, int j, int k) const {
    for (int v = 0; v < 14 * 9 * 6; ++v)
      if (voxels[static_cast<unsigned long>(v)] == 5 && isWithin(grid, 0, i, v % 14) &&
          isWithin(grid, 1, j, v / 14 % 9) && isWithin(grid, 2, k, v / 126))
        return false;
    return true;
  }
};

/// True where all the bricks are empty that have (i, j, k) as a corner.
bool isUnused(const NmVec3i& n, const Flags& bricks, int i, int j, int k) {
  for (unsigned long b = 0; b < bricks.size(); ++b) {
    const int at = static_cast<int>(b);
    const int apart[] = {i - at % n.x, j - at / n.x % n.y, k - at / n.x / n.y};
    if (bricks[b] == 0 && std::all_of(apart, apart + 3, [](int d) { return d == 0 || d == 1; }))
      return false;
  }
  return true;
}

/// One flag for each place (i, j, k), i fastest.
template <class F>
Flags flagsOf(const NmVec3i& n, F f) {
  Flags flags;
  for (int k = 0; k < n.z; ++k)
    for (int j = 0; j < n.y; ++j)
      for (int i = 0; i < n.x; ++i) flags.push_back(f(i, j, k) ? 1 : 0);
  return flags;
}

TEST_F(FindEmptyBricks, EqualsAScanOfEveryVoxelForEveryBrick) {
  std::mt19937 random(9);
  std::uniform_real_distribution<float> end(-4.0f, 4.0f);
  const auto correlation = functionalOf(new RegCorrelationRatio(5, 6, 0, 1, 1.0, false));
  const auto information = functionalOf(new RegNormMutualInformation(
      NmPrimType::Short, NmPrimType::Short, 4.6, 6.4, 0, 1, 8, 8, 1.0, false));
  for (const NmVec3i& n :
       {NmVec3i(1, 1, 1), NmVec3i(2, 2, 2), NmVec3i(3, 5, 1), NmVec3i(32, 4, 11)})
    for (int seeds = 0; seeds < 12; seeds += 3) {
      std::fill(voxels.begin(), voxels.end(), static_cast<short>(0));
      for (int s = 0; s < seeds; ++s) {
        voxels[random() % voxels.size()] = 5;
        voxels[random() % voxels.size()] = 7;
      }
      RegNonAffineTransform grid(
          {{box.xmin + end(random), box.xmax, box.ymin, box.ymax + end(random), box.zmin,
            box.zmax + 1.0f + 0.2f * end(random)},
           {},
           {}},
          n);
      const Flags bricks = flagsOf(n, [&](auto... at) { return isEmpty(grid, at...); });
      const Flags vertices = flagsOf(NmVec3i(n.x + 1, n.y + 1, n.z + 1),
                                     [&](auto... at) { return isUnused(n, bricks, at...); });
      const auto empty = std::count(bricks.begin(), bricks.end(), 1);
      const auto unused = std::count(vertices.begin(), vertices.end(), 1);
      std::vector<std::string> lines = {std::to_string(empty) + " of " +
                                        std::to_string(bricks.size()) + " empty bricks"};
      if (unused > 0)
        lines.push_back(std::to_string(unused) + " of " + std::to_string(vertices.size()) +
                        " unused vertices");
      for (RegFunctional* const functional : {correlation.get(), information.get()}) {
        log.lines.clear();
        EXPECT_EQ(functional->findEmptyBricks(&grid), empty);
        EXPECT_EQ(copyOf(functional->emptyBricks), bricks);
        EXPECT_EQ(copyOf(functional->unusedVertices), vertices);
        EXPECT_EQ(log.lines, lines);
      }
    }
}

TEST_F(FindEmptyBricks, NothingIsFlaggedWithoutARangeOrWithoutNumbers) {
  RegNonAffineTransform grid({box, {}, {}}, NmVec3i(2, 1, 3));
  const auto difference = functionalOf(new RegMeanSquaredDifference(0.0, false));
  EXPECT_EQ(difference->findEmptyBricks(nullptr), 0);
  EXPECT_EQ(difference->emptyBricks.size, 0);
  EXPECT_EQ(difference->findEmptyBricks(&grid), 0);
  EXPECT_EQ(copyOf(difference->emptyBricks), Flags(6, 0));
  EXPECT_EQ(copyOf(difference->unusedVertices), Flags(24, 0));
  EXPECT_TRUE(log.lines.empty());
  // A brick without a place may lie anywhere.
  voxels[300] = 5;
  const auto correlation = functionalOf(new RegCorrelationRatio(5, 6, 0, 1, 1.0, false));
  grid.referenceBox = NmBox3f(std::nanf(""), 1, -HUGE_VALF, HUGE_VALF, 1e30f, std::nanf(""));
  EXPECT_EQ(correlation->findEmptyBricks(&grid), 0);
}

}  // namespace
