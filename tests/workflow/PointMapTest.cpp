#include <voxreg.h>

#include <cmath>
#include <cstring>

#include "tests/support/expectNear.h"
#include "tests/support/lattices.h"

namespace {

using voxreg::Image;
using voxreg::LatticeMap;
using voxreg::PointMap;
using voxreg::Transform;

/// Images whose axes are those of the lattice's box, exchanged ones, and oblique ones.
const NmMat4d voxelToWorld[] = {{0, 0.5, 0, 0, -0.5, 0, 0, 0, 0, 0, 2, 0, 7, -2, 14, 1},
                                {0, 0, 2, 0, 0, -0.5, 0, 0, 0.5, 0, 0, 0, -20, 30, 14, 1},
                                {0.3, 0.4, 0, 0, -0.4, 0.3, 0.1, 0, 0, 0, 2, 0, 7, -2, 14, 1}};

/// Positions in an image's frame along a row, with one that is nowhere and some far outside.
std::vector<NmVec3d> rowOf(const Image& image) {
  std::vector<NmVec3d> row;
  const NmBox3f& box = image.frame().box;
  for (int x = 0; x < 200; ++x)
    row.emplace_back(box.xmin + 0.3 * x, box.ymin + 3.0, box.zmin + 4.0);
  row[17].x = NAN;
  row[50].x = INFINITY;
  row[51].y = -1e300;
  return row;
}

TEST(PointMap, ofALatticeMapsAsTheTransformBetweenFrames) {
  const Transform transform = Transform::fromLattice(someLattice(2.0));
  const Image model = Image::allocate(NmPrimType::Short, {9, 8, 7}, voxelToWorld[2]);
  for (const NmMat4d& matrix : voxelToWorld) {
    const Image reference = Image::allocate(NmPrimType::Short, {60, 40, 12}, matrix);
    const std::vector<NmVec3d> row = rowOf(reference);
    std::vector<NmVec3d> found(row.size());
    PointMap(transform, reference, model)(row.data(), 200, found.data());
    for (std::size_t i = 0; i < row.size(); ++i) {
      NmVec3d inWorld, expected;
      reference.frame().toWorld.multVecMatrix(row[i], inWorld);
      model.frame().toWorld.inverse().multVecMatrix(transform(inWorld), expected);
      if (std::abs(row[i].x) < 1e9 && std::abs(row[i].y) < 1e9)
        expectNear(found[i], expected, 1e-8);
    }
  }
}

TEST(PointMap, ofALatticeGivesTheSameBitsForAnyPartOfARow) {
  LatticeMap fine = someLattice(0.5);
  fine.lattice = fine.lattice.refined({1, 0, 0}).refined({1, 0, 0}).refined({1, 1, 1});
  for (const LatticeMap& map : {someLattice(2.0), fine})
    for (const NmMat4d& matrix : voxelToWorld) {
      const Image image = Image::allocate(NmPrimType::Short, {60, 40, 12}, matrix);
      const PointMap points(Transform::fromLattice(map), image, image);
      const std::vector<NmVec3d> row = rowOf(image);
      std::vector<NmVec3d> whole(row.size());
      points(row.data(), 200, whole.data());
      for (const std::int64_t part : {1, 7, 150})
        for (std::int64_t first = 0; first < 200; first += part) {
          NmVec3d found[150];
          const std::int64_t n = std::min<std::int64_t>(part, 200 - first);
          points(row.data() + first, n, found);
          EXPECT_EQ(std::memcmp(found, whole.data() + first,
                                sizeof(NmVec3d) * static_cast<std::size_t>(n)),
                    0)
              << first;
        }
    }
}

TEST(PointMap, ofALatticeThatIsNotValidSendsPointsNowhere) {
  LatticeMap map = someLattice(1.0);
  map.lattice.values.pop_back();
  const Image image = Image::allocate(NmPrimType::Short, {6, 4, 2}, NmMat4d());
  EXPECT_TRUE(std::isnan(PointMap(Transform::fromLattice(map), image, image)(NmVec3f()).x));
}

}  // namespace
