#include <voxreg.h>

#include <cmath>

#include "tests/support/expectNear.h"
#include "tests/support/fields.h"

namespace {

using voxreg::DisplacementField;
using voxreg::DisplacementMap;
using voxreg::Image;
using voxreg::PointMap;
using voxreg::Transform;

/// What the matrices of someField do: its frame to the world, and the affine one with the
/// displacement.
NmVec3d world(const NmVec3d& inFrame) {
  return {7 - inFrame.y, 8 + inFrame.x, 9 + inFrame.z};
}
NmVec3d moved(const NmVec3d& inWorld, const NmVec3d& by) {
  return {1.1 * inWorld.x + 4 + by.x, 0.2 * inWorld.x + 0.9 * inWorld.y + 5 + by.y,
          0.1 * inWorld.y + inWorld.z + 6 + by.z};
}

/// The sum over all nodes of their hats at a point among them.
NmVec3d hats(const DisplacementField& field, const NmVec3d& at) {
  NmVec3d found;
  std::size_t next = 0;
  for (int c = 0; c < 3; ++c)
    for (int k = 0; k < field.dims.z; ++k)
      for (int j = 0; j < field.dims.y; ++j)
        for (int i = 0; i < field.dims.x; ++i) {
          double weight = static_cast<double>(field.values[next++]);
          const int node[3] = {i, j, k};
          for (int a = 0; a < 3; ++a)
            weight *= std::max(
                0.0, 1.0 - std::abs((at[a] - field.origin[a]) / field.spacing[a] - node[a]));
          found[c] += weight;
        }
  return found;
}

/// Positions, and the nearest ones among the nodes.
const NmVec3d places[][2] = {{{-10, 0, 5}, {-10, 0, 5}},         {{30, 24, 20}, {30, 24, 20}},
                             {{-3.3, 17, 9}, {-3.3, 17, 9}},     {{12, 8.4, 13}, {12, 8.4, 13}},
                             {{29.9, 0.1, 19}, {29.9, 0.1, 19}}, {{-14, 3, 6}, {-10, 3, 6}},
                             {{40, 27, 12}, {30, 24, 12}},       {{1, -2, 100}, {1, 0, 20}}};

TEST(DisplacementMap, addsTheTrilinearDisplacementToTheMatrix) {
  const DisplacementMap map = someField(2.0f);
  ASSERT_TRUE(map.isValid());
  const Transform transform = Transform::fromField(map);
  ASSERT_NE(transform.field(), nullptr);
  EXPECT_EQ(transform.field()->field.values, map.field.values);
  const Image model = Image::allocate(NmPrimType::Short, {9, 8, 7},
                                      {0, 0, 2, 0, 0, -0.5, 0, 0, 0.5, 0.1, 0, 0, -20, 30, 14, 1});
  const Image reference =
      Image::allocate(NmPrimType::Short, {60, 40, 12},
                      {0.3, 0.4, 0, 0, -0.4, 0.3, 0.1, 0, 0, 0, 2, 0, 7, -2, 14, 1});
  const PointMap points(transform, reference, model);
  for (const auto& [place, nearest] : places) {
    const NmVec3d from = world(place);
    const NmVec3d expected = moved(from, hats(map.field, nearest));
    expectNear(map(from), expected, 1e-12);
    expectNear(transform(from), expected, 1e-12);
    NmVec3d inReference, found;
    reference.frame().toWorld.inverse().multVecMatrix(from, inReference);
    points(&inReference, 1, &found);
    model.frame().toWorld.multVecMatrix(found, found);
    expectNear(found, expected, 1e-10);
  }
}

TEST(DisplacementMap, tellsItsSlopes) {
  const Transform transform = Transform::fromField(someField(2.0f));
  constexpr double step = 1e-5;
  for (const auto& [place, nearest] : places) {
    if (place == nearest && (place.x == -10 || place.x == 30)) continue;  // kinks
    const NmMat4d jacobian = transform.jacobian(world(place));
    for (int a = 0; a < 3; ++a) {
      NmVec3d low = world(place), high = low;
      low[a] -= step;
      high[a] += step;
      const NmVec3d from = transform(low), to = transform(high);
      for (int c = 0; c < 3; ++c)
        EXPECT_NEAR(jacobian.m[a][c], (to[c] - from[c]) / (2 * step), 1e-7);
    }
  }
}

TEST(DisplacementMap, isInvertedToAMillionthOfAMillimetre) {
  const Transform transform = Transform::fromField(someField(1.5f));
  const Transform around = transform.then(transform.inverse());
  const Transform other = transform.inverse().then(transform);
  EXPECT_EQ(transform.inverse().field(), nullptr);
  EXPECT_FALSE(transform.modelToReference());
  for (const auto& [place, nearest] : places) {
    expectNear(around(world(place)), world(place), 1e-5);
    expectNear(other(world(place)), world(place), 1e-6);
  }
}

// A difference across two steps would be 1 at the node that moves.
TEST(DisplacementMap, seesAFoldThatCentralDifferencesMiss) {
  const NmMat4d mirrored(0, 3, 0, 0, 2, 0, 0, 0, 0, 0, 1, 0, 5, 0, 0, 1);
  const NmMat4d stretched(2, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1);
  const struct {
    std::vector<float> values;
    NmMat4d toWorld, matrix;
    double expected;
  } cases[] = {{{0, 0, 0, 0, 0}, {}, {}, 1.0},
               {{0, 0, 2.5f, 0, 0}, {}, {}, -0.25},
               {{0, 0, 1, 0, 0}, {}, {}, 0.5},
               {{0, 3, 6, 9, 9}, {}, {}, 1 / 2.5},
               {{0, 0, 0, 0, 0}, mirrored, stretched, 0.5},
               // the frame's x is the world's y, along which x shears
               {{0, 0, 2.5f, 0, 0}, mirrored, stretched, 0.5}};
  for (const auto& [values, toWorld, matrix, expected] : cases)
    for (const NmVec3i& dims : {NmVec3i(5, 3, 2), NmVec3i(5, 1, 1)}) {
      const DisplacementMap map = {fieldAlongX(values, 2.0, dims), toWorld, matrix};
      EXPECT_NEAR(map.smallestJacobian(), expected, 1e-12);
    }
}

TEST(DisplacementMap, thatIsNotValidSendsPointsNowhere) {
  DisplacementMap broken[9];
  for (int i = 1; i < 9; ++i) broken[i] = someField(1.0f);
  broken[1].field.dims.x = 4;
  broken[2].field.dims = {0, 4, 3};
  broken[3].field.spacing.y = 0.0;
  broken[4].field.values[0] = NAN;
  broken[5].field.origin.z = INFINITY;
  broken[6].toWorld.m[1][0] = 0.0;
  broken[7].referenceToModel.m[2][2] = 0.0;
  broken[8].field.dims = {1 << 30, 1 << 30, 1 << 30};
  const Image image = Image::allocate(NmPrimType::Short, {6, 4, 2}, NmMat4d());
  for (const DisplacementMap& map : broken) {
    EXPECT_FALSE(map.isValid());
    EXPECT_EQ(map.smallestJacobian(), 0.0);
    const Transform transform = Transform::fromField(map);
    const NmVec3d far = world({29, 23, 19});
    EXPECT_TRUE(std::isnan(transform(far).x));
    EXPECT_TRUE(std::isnan(transform.inverse()(far).x));
    EXPECT_TRUE(std::isnan(transform.jacobian(far).m[0][0]));
    EXPECT_TRUE(std::isnan(PointMap(transform, image, image)(NmVec3f()).x));
  }
  const NmVec3d odd[] = {{NAN, 1, 2}, {INFINITY, 1, 2}, {1, -1e300, 2}};
  for (const NmVec3d& place : odd) (void)someField(1.0f)(place);  // stays among the nodes
}

}  // namespace
