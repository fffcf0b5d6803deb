#include <voxreg.h>

#include <cmath>

#include "tests/support/expectNear.h"
#include "tests/support/fields.h"
#include "tests/support/lattices.h"

namespace {

using voxreg::approximateByField;
using voxreg::Image;
using voxreg::MapApproximation;
using voxreg::Transform;

/// Voxels of 1.5 x 1 x 3 mm whose centres cover -4 to 8, 1 to 9 and 2 to 8.
const Image image = Image::allocate(NmPrimType::Short, {9, 9, 3},
                                    {1.5, 0, 0, 0, 0, 1, 0, 0, 0, 0, 3, 0, -4, 1, 2, 1});

TEST(MapApproximation, hasNodesAtVoxelsOrFewer) {
  const std::pair<double, NmVec3i> cases[] = {{0.0, {9, 9, 3}},  {1.0, {9, 9, 3}},
                                              {2.0, {7, 5, 3}},  {2.5, {6, 5, 3}},
                                              {12.0, {2, 2, 2}}, {1e9, {2, 2, 2}}};
  for (const auto& [spacing, dims] : cases) {
    const MapApproximation found = approximateByField(Transform(), image, spacing);
    EXPECT_EQ(found.map.field.dims, dims) << spacing;
    expectNear(found.map.field.origin, NmVec3d(-4, 1, 2), 0.0);
    for (int a = 0; a < 3; ++a)
      EXPECT_NEAR(found.map.field.spacing[a], (NmVec3d(12, 8, 6)[a]) / (dims[a] - 1), 1e-12);
  }
}

// Half way between nodes h apart, q * x * x differs from the straight line by q * h * h / 4.
TEST(MapApproximation, tellsItsError) {
  const voxreg::LatticeMap lattice = {
      latticeAlongX({-4, 8, 1, 9, 2, 8}, {4, 1, 1}, [](double x) { return 0.3 * x * x; }),
      {},
      NmMat4d(1, 0.1, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 4, 5, 6, 1)};
  for (const int cells : {4, 6, 8}) {
    const MapApproximation found =
        approximateByField(Transform::fromLattice(lattice), image, 12.0 / cells);
    EXPECT_EQ(found.map.field.dims.x, cells + 1);
    const double unit = 0.3 * 16.0 / (cells * cells);
    EXPECT_NEAR(found.largestError, unit / 4, 1e-5);
    EXPECT_NEAR(found.meanError, unit / 4, 1e-5);
    const NmVec3d outside(-9, 3, 20);
    expectNear(found.map(outside), lattice.ofWorld(outside), 1e-5);
  }
}

TEST(MapApproximation, followsAnyTransformAtItsNodes) {
  const NmMat4d affine(1.1, 0.2, 0, 0, 0, 0.9, 0.1, 0, 0, 0, 1, 0, 4, 5, 6, 1);
  const Transform linear = Transform::fromReferenceToModel(affine);
  const Transform field = Transform::fromField(someField(1.0f));
  for (const Transform& transform : {linear, field, field.inverse(), linear.then(field)}) {
    const MapApproximation found = approximateByField(transform, image);
    ASSERT_TRUE(found.map.isValid());
    for (const NmVec3d& node : {NmVec3d(-4, 1, 2), NmVec3d(-1, 4, 8), NmVec3d(8, 9, 5)})
      expectNear(found.map(node), transform(node), 1e-5);
  }
  EXPECT_LT(approximateByField(linear, image).largestError, 1e-12);
  const Image flat = Image::allocate(NmPrimType::Short, {4, 3, 1}, NmMat4d());
  EXPECT_LT(approximateByField(linear.then(linear), flat).largestError, 1e-5);
}

TEST(MapApproximation, ofWhatHasNoPlaceIsNotValid) {
  voxreg::DisplacementMap broken = someField(1.0f);
  broken.field.values.pop_back();
  for (const MapApproximation& found : {approximateByField(Transform(), Image()),
                                        approximateByField(Transform::fromField(broken), image),
                                        approximateByField(Transform::fromLattice({}), image)}) {
    EXPECT_FALSE(found.map.isValid());
    EXPECT_TRUE(std::isnan(found.meanError) && std::isnan(found.largestError));
  }
}

}  // namespace
