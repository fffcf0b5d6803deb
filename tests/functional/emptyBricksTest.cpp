#include <algorithm>
#include <cmath>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "metrics/RegMeanSquaredDifference.h"
#include "tests/functional/functionals.h"
#include "transforms/RegNonAffineTransform.h"

namespace {

using Flags = std::vector<unsigned char>;

Flags copyOf(const NmDArray<unsigned char>& flags) {
  return Flags(flags.data, flags.data + flags.size);
}

const NmVec3i dims(14, 9, 6);
const NmBox3f box(-3, 10, 2, 18, 1, 1.7f);

/// A reference of zeros with a few voxels of 15, which the metrics take, and 7. The second of its
/// two data variables is always in range.
class FindEmptyBricks : public testing::Test {
 protected:
  std::vector<short> voxels = std::vector<short>(2 * 14 * 9 * 6, 15);
  Volumes volumes = listOf({wrapVolume({14, 9, 6}, NmPrimType::Short, 2, voxels.data())});
  LogCapture log;

  FindEmptyBricks() {
    EXPECT_TRUE(volumes[0]->setBoundingBox(box).isOk());
    clear();
  }

  short& voxel(unsigned long v) { return voxels[2 * v]; }
  void clear() {
    for (unsigned long v = 0; v < voxels.size() / 2; ++v) voxel(v) = 0;
  }

  /// True where a voxel lies within a brick along one axis, in single precision.
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

  bool isEmpty(const RegNonAffineTransform& grid, const int (&brick)[3]) {
    for (int v = 0; v < 14 * 9 * 6; ++v)
      if (voxel(static_cast<unsigned long>(v)) == 15 && isWithin(grid, 0, brick[0], v % 14) &&
          isWithin(grid, 1, brick[1], v / 14 % 9) && isWithin(grid, 2, brick[2], v / 126))
        return false;
    return true;
  }
};

TEST_F(FindEmptyBricks, EqualsAScanOfEveryVoxelForEveryBrick) {
  std::mt19937 random(9);
  std::uniform_real_distribution<float> end(-4.0f, 4.0f);
  const auto correlated = makeFunctional(volumes, volumes, nullptr, correlation());
  const auto informed = makeFunctional(volumes, volumes, nullptr, information());
  for (const NmVec3i& n :
       {NmVec3i(1, 1, 1), NmVec3i(2, 2, 2), NmVec3i(3, 5, 1), NmVec3i(32, 4, 11)})
    for (int seeds = 0; seeds < 12; seeds += 3) {
      clear();
      for (int s = 0; s < seeds; ++s) {
        voxel(random() % (voxels.size() / 2)) = 15;
        voxel(random() % (voxels.size() / 2)) = 7;
      }
      RegNonAffineTransform grid(
          {{box.xmin + end(random), box.xmax, box.ymin, box.ymax + end(random), box.zmin,
            box.zmax + 1.0f + 0.2f * end(random)},
           {},
           {}},
          n);
      Flags bricks;
      Flags vertices(static_cast<unsigned long>(grid.vertexCount()), 1);
      for (int b = 0; b < grid.brickCount(); ++b) {
        const int at[] = {b % n.x, b / n.x % n.y, b / n.x / n.y};
        bricks.push_back(isEmpty(grid, at) ? 1 : 0);
        for (int c = 0; c < 8 && bricks.back() == 0; ++c)
          vertices[static_cast<unsigned long>(
              at[0] + (c & 1) +
              (n.x + 1) * (at[1] + (c >> 1 & 1) + (n.y + 1) * (at[2] + (c >> 2))))] = 0;
      }
      const auto empty = std::count(bricks.begin(), bricks.end(), 1);
      const auto unused = std::count(vertices.begin(), vertices.end(), 1);
      std::vector<std::string> lines = {std::to_string(empty) + " of " +
                                        std::to_string(bricks.size()) + " empty bricks"};
      if (unused > 0)
        lines.push_back(std::to_string(unused) + " of " + std::to_string(vertices.size()) +
                        " unused vertices");
      for (RegFunctional* const functional : {correlated.get(), informed.get()}) {
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
  const auto difference =
      makeFunctional(volumes, volumes, nullptr, new RegMeanSquaredDifference(0.0, false));
  EXPECT_EQ(difference->findEmptyBricks(nullptr), 0);
  EXPECT_EQ(difference->emptyBricks.size, 0);
  EXPECT_EQ(difference->findEmptyBricks(&grid), 0);
  EXPECT_EQ(copyOf(difference->emptyBricks), Flags(6, 0));
  EXPECT_EQ(copyOf(difference->unusedVertices), Flags(24, 0));
  EXPECT_TRUE(log.lines.empty());
  // A brick without a place may lie anywhere.
  voxel(300) = 15;
  const auto correlated = makeFunctional(volumes, volumes, nullptr, correlation());
  grid.referenceBox = NmBox3f(std::nanf(""), 1, -HUGE_VALF, HUGE_VALF, 1e30f, std::nanf(""));
  EXPECT_EQ(correlated->findEmptyBricks(&grid), 0);
  correlated->reference[0] = makeVolume({2, 2, 2}, NmPrimType::Short);
  grid.referenceBox = box;
  EXPECT_EQ(correlated->findEmptyBricks(&grid), 0) << "not the volume that is locked";
}

TEST(ComputeRenumbering, InnerVerticesFirstUnusedOnesLast) {
  const auto functional = makeFunctional({}, {}, nullptr, nullptr);
  NmDArray<unsigned char> unused;
  NmDArray<int> order;
  std::mt19937 random(2);
  for (const NmVec3i& n : {NmVec3i(1, 1, 1), NmVec3i(2, 2, 2), NmVec3i(4, 3, 2)}) {
    const int count = (n.x + 1) * (n.y + 1) * (n.z + 1);
    for (const unsigned one_in : {0u, 3u, 1u}) {
      unused.resize(count);
      for (long v = 0; v < count; ++v) unused[v] = one_in != 0 && random() % one_in == 0 ? 1 : 0;
      const auto rank = [&](int v) {
        const int i = v % (n.x + 1);
        const int j = v / (n.x + 1) % (n.y + 1);
        const int k = v / (n.x + 1) / (n.y + 1);
        if (unused[v] != 0) return 2;
        return std::min({i, n.x - i, j, n.y - j, k, n.z - k}) > 0 ? 0 : 1;
      };
      std::vector<int> expected(static_cast<unsigned long>(count));
      std::iota(expected.begin(), expected.end(), 0);
      std::stable_sort(expected.begin(), expected.end(),
                       [&](int a, int b) { return rank(a) < rank(b); });
      ASSERT_TRUE(functional->computeRenumbering(n, unused, order));
      EXPECT_EQ(std::vector<int>(order.data, order.data + order.size), expected);
    }
    EXPECT_FALSE(functional->computeRenumbering(NmVec3i(n.x, n.y, 7), unused, order));
    EXPECT_FALSE(functional->computeRenumbering(NmVec3i(1 << 30, 1 << 30, 15), unused, order));
    EXPECT_EQ(order.size, count);
  }
}

}  // namespace
