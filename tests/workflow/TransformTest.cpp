#include <voxreg.h>

#include <cmath>

#include "tests/support/expectNear.h"
#include "tests/support/grids.h"

namespace {

using voxreg::BrickGrid;
using voxreg::Transform;

const NmBox3f box(-10, 30, 0, 25, 5, 20);
const NmMat4d turned(0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1, 0, 7, 8, 9, 1);
const NmMat4d affine(1.1, 0.2, 0, 0, 0, 0.9, 0.1, 0, 0, 0, 1, 0, 4, 5, 6, 1);

BrickGrid someBricks() {
  BrickGrid bricks;
  jittered(NmVec3i(3, 2, 4), 1.5, box).getTransform(bricks.grid);
  bricks.boxToWorld = turned;
  return bricks;
}

TEST(BrickGrid, sendsPointsWithinTheBoxAndBeyondItWhereTheLibrarySendsThem) {
  const BrickGrid bricks = someBricks();
  const RegNonAffineTransform library = jittered(NmVec3i(3, 2, 4), 1.5, box);
  for (const NmVec3d& at : {NmVec3d(0.1, 0.7, 0.9), NmVec3d(1, 0, 1), NmVec3d(0.5, 0.5, 0.5),
                            NmVec3d(-0.2, 0.3, 1.4), NmVec3d(1.1, -3.0, 0.2)}) {
    const NmVec3d inBox(-10 + 40 * at.x, 25 * at.y, 5 + 15 * at.z);
    expectNear(bricks.ofBox(inBox), evaluated(library, at), 1e-9);
    const NmVec3d world(7 - inBox.y, 8 + inBox.x, 9 + inBox.z);
    expectNear(bricks.ofWorld(world), evaluated(library, at), 1e-9);
  }
}

TEST(BrickGrid, shiftsWhatLiesBeyondIfAsked) {
  BrickGrid bricks = someBricks();
  const NmVec3d rim = bricks.ofBox(NmVec3d(30, 10, 5));
  bricks.beyond = BrickGrid::Beyond::displacement;
  // The frame's x is the world's y, and its z the world's.
  expectNear(bricks.ofBox(NmVec3d(32, 10, 1)), NmVec3d(rim.x, rim.y + 2, rim.z - 4), 1e-9);
  expectNear(bricks.ofBox(NmVec3d(30, 10, 5)), rim, 0.0);
}

TEST(BrickGrid, thatIsNotValidSendsPointsNowhere) {
  BrickGrid few = someBricks();
  few.grid.numBricks.z = 5;
  BrickGrid flat = someBricks();
  flat.grid.box = NmBox3f(0, 0, 0, 1, 0, 1);
  for (const BrickGrid& bricks : {BrickGrid(), few, flat}) {
    EXPECT_FALSE(bricks.isValid());
    const Transform transform = Transform::fromBricks(bricks);
    EXPECT_TRUE(std::isnan(transform(NmVec3d(1, 2, 3)).x));
    EXPECT_TRUE(std::isnan(transform.inverse()(NmVec3d(1, 2, 3)).x));
    EXPECT_TRUE(std::isnan(transform.jacobian(NmVec3d(1, 2, 3)).m[0][0]));
  }
}

TEST(Transform, ofMatricesComposesAndInvertsThem) {
  const NmVec3d point(2, -3, 5);
  expectNear(Transform()(point), point, 0.0);
  const Transform first = Transform::fromReferenceToModel(turned);
  const Transform both = first.then(Transform::fromReferenceToModel(affine));
  // (2, -3, 5) turns to (10, 10, 14), which the affine matrix takes on.
  expectNear(first(point), NmVec3d(10, 10, 14), 1e-12);
  expectNear(both(point), NmVec3d(15, 16, 21), 1e-12);
  expectNear(both.inverse()(both(point)), point, 1e-9);
  EXPECT_NEAR(both.jacobian(point).det3(), 0.99, 1e-6);
  ASSERT_TRUE(both.modelToReference() && both.referenceToModel());
  expectNear(Transform::fromModelToReference(turned).modelToReference().value(), turned, 0.0);
  EXPECT_EQ(both.bricks(), nullptr);
}

TEST(Transform, invertsBricksToAMillionthOfAMillimetre) {
  for (const auto beyond : {BrickGrid::Beyond::bricks, BrickGrid::Beyond::displacement}) {
    BrickGrid bricks = someBricks();
    bricks.beyond = beyond;
    const Transform transform = Transform::fromBricks(bricks);
    EXPECT_NE(transform.bricks(), nullptr);
    EXPECT_EQ(transform.inverse().bricks(), nullptr);
    EXPECT_FALSE(transform.modelToReference());
    const Transform around = transform.then(transform.inverse());
    const Transform back = transform.inverse().then(transform);
    for (const NmVec3d& inBox : {NmVec3d(1, 2, 6), NmVec3d(29, 24, 19), NmVec3d(10, 11, 12),
                                 NmVec3d(-12, 27, 15), NmVec3d(15, 3, 4)}) {
      NmVec3d world;
      turned.multVecMatrix(inBox, world);
      expectNear(around(world), world, 1e-5);
      const NmVec3d inModel = transform(world);
      expectNear(back(inModel), inModel, 1e-6);
      EXPECT_NEAR(around.jacobian(world).det3(), 1.0, 1e-5);
    }
  }
}

TEST(Transform, tellsTheSlopesOfBricks) {
  const Transform transform =
      Transform::fromReferenceToModel(affine).then(Transform::fromBricks(someBricks()));
  const NmVec3d place(-6, 15, 18);  // within the box, off the faces of its bricks
  const NmMat4d jacobian = transform.jacobian(place);
  constexpr double step = 1e-5;
  for (int a = 0; a < 3; ++a) {
    NmVec3d low = place, high = place;
    low[a] -= step;
    high[a] += step;
    const NmVec3d from = transform(low), to = transform(high);
    for (int c = 0; c < 3; ++c) EXPECT_NEAR(jacobian.m[a][c], (to[c] - from[c]) / (2 * step), 1e-6);
  }
}

TEST(Transform, whoseBricksFoldHasNoInverseWhereNothingComesFrom) {
  BrickGrid bricks;
  RegNonAffineTransform({box, {}, {}}, NmVec3i(1, 1, 1)).getTransform(bricks.grid);
  for (long v = 0; v < 8; ++v) bricks.grid.vertices[3 * v] = 3.0;  // all of space onto a plane
  const Transform inverse = Transform::fromBricks(bricks).inverse();
  EXPECT_TRUE(std::isnan(inverse(NmVec3d(5, 10, 10)).x));
}

}  // namespace
