#include <voxreg.h>

#include <cmath>

#include "tests/support/expectNear.h"
#include "tests/support/lattices.h"

namespace {

using voxreg::ControlLattice;
using voxreg::LatticeMap;
using voxreg::Transform;

/// The cubic B-spline around 0.
double spline(double x) {
  const double d = std::abs(x);
  if (d >= 2.0) return 0.0;
  if (d >= 1.0) return (2.0 - d) * (2.0 - d) * (2.0 - d) / 6.0;
  return 2.0 / 3.0 - d * d + 0.5 * d * d * d;
}

/// The sum over all controls at a point of the box.
NmVec3d summed(const ControlLattice& lattice, const NmVec3d& inBox) {
  NmVec3d found;
  std::size_t next = 0;
  for (int c = 0; c < 3; ++c)
    for (int k = 0; k < lattice.controlsAlong(2); ++k)
      for (int j = 0; j < lattice.controlsAlong(1); ++j)
        for (int i = 0; i < lattice.controlsAlong(0); ++i) {
          double weight = lattice.values[next++];
          const int at[3] = {i, j, k};
          for (int a = 0; a < 3; ++a)
            weight *= spline((inBox[a] - lattice.origin[a]) / lattice.spacing[a] - (at[a] - 1));
          found[c] += weight;
        }
  return found;
}

/// What the matrices of someLattice do: box to world, and the affine one with the displacement.
NmVec3d world(const NmVec3d& inBox) {
  return {7 - inBox.y, 8 + inBox.x, 9 + inBox.z};
}
NmVec3d moved(const NmVec3d& inWorld, const NmVec3d& by) {
  return {1.1 * inWorld.x + 4 + by.x, 0.2 * inWorld.x + 0.9 * inWorld.y + 5 + by.y,
          0.1 * inWorld.y + inWorld.z + 6 + by.z};
}

const NmVec3d places[] = {{-10, 0, 5},     {30, 25, 20},    {-3.3, 17, 9},
                          {12, 8.4, 12.5}, {29.9, 0.1, 19}, {10, 25.0 / 3, 12.5}};
/// Positions outside the box, and the nearest ones inside.
const NmVec3d outside[][2] = {
    {{-14, 3, 6}, {-10, 3, 6}}, {{40, 27, 12}, {30, 25, 12}}, {{1, -2, 100}, {1, 0, 20}}};

TEST(LatticeMap, addsAllSplinesToTheMatrix) {
  const LatticeMap map = someLattice(2.0);
  ASSERT_TRUE(map.isValid());
  const auto check = [&](const NmVec3d& at, const NmVec3d& nearest) {
    const NmVec3d expected = moved(world(at), summed(map.lattice, nearest));
    expectNear(map.ofBox(at), expected, 1e-12);
    expectNear(map.ofWorld(world(at)), expected, 1e-12);
    expectNear(Transform::fromLattice(map)(world(at)), expected, 1e-12);
  };
  for (const NmVec3d& place : places) check(place, place);
  for (const auto& [place, nearest] : outside) check(place, nearest);
}

TEST(LatticeMap, takesAFlatAxisAsAUnitLong) {
  LatticeMap map = {ControlLattice({0, 8, 0, 8, 3, 3}, {2, 2, 1}), {}, {}};
  const auto count = static_cast<std::size_t>(map.lattice.controlCount());
  std::fill_n(map.lattice.values.begin(), count, 0.5);  // splines sum to 1
  for (const double z : {3.0, 3.5, 9.0})
    expectNear(map.ofWorld({4, 5, z}), NmVec3d(4.5, 5, z), 1e-12);
  EXPECT_NEAR(map.smallestJacobian(), 1.0, 1e-12);
}

TEST(LatticeMap, tellsItsSlopes) {
  const LatticeMap map = someLattice(2.0);
  const Transform transform = Transform::fromLattice(map);
  constexpr double step = 1e-5;
  const auto check = [&](const NmVec3d& inBox) {
    const NmVec3d place = world(inBox);
    const NmMat4d jacobian = transform.jacobian(place);
    for (int a = 0; a < 3; ++a) {
      NmVec3d low = place, high = place;
      low[a] -= step;
      high[a] += step;
      const NmVec3d from = map.ofWorld(low), to = map.ofWorld(high);
      for (int c = 0; c < 3; ++c)
        EXPECT_NEAR(jacobian.m[a][c], (to[c] - from[c]) / (2 * step), 1e-7);
    }
  };
  for (const NmVec3d& place : {places[2], places[3], places[5], outside[0][0], outside[2][0]})
    check(place);
}

TEST(LatticeMap, isInvertedToAMillionthOfAMillimetre) {
  for (const double amount : {0.5, 3.0}) {
    const Transform transform = Transform::fromLattice(someLattice(amount));
    EXPECT_NE(transform.lattice(), nullptr);
    EXPECT_EQ(transform.bricks(), nullptr);
    EXPECT_EQ(transform.inverse().lattice(), nullptr);
    EXPECT_FALSE(transform.modelToReference() || transform.referenceToModel());
    const Transform around = transform.then(transform.inverse());
    const auto check = [&](const NmVec3d& inBox) {
      const NmVec3d inModel = transform(world(inBox));
      expectNear(transform(around(world(inBox))), inModel, 1e-6);
      expectNear(transform(transform.inverse()(inModel)), inModel, 1e-6);
    };
    for (const NmVec3d& place : places) check(place);
    for (const auto& [place, nearest] : outside) check(place);
  }
}

TEST(LatticeMap, thatIsNotValidSendsPointsNowhere) {
  LatticeMap broken[9];
  broken[0].lattice = ControlLattice();
  for (int i = 1; i < 9; ++i) broken[i] = someLattice(1.0);
  broken[1].lattice.intervals.x = 3;
  broken[2].lattice.intervals = {0, 3, 2};
  broken[3].lattice.spacing.y = 0.0;
  broken[4].lattice.values[0] = NAN;
  broken[5].lattice.origin.z = INFINITY;
  broken[6].boxToWorld.m[1][0] = 0.0;
  broken[7].referenceToModel.m[2][2] = 0.0;
  broken[8].lattice.intervals = {1 << 30, 1 << 30, 1 << 30};
  for (const LatticeMap& map : broken) {
    EXPECT_FALSE(map.isValid());
    EXPECT_EQ(map.smallestJacobian(), 0.0);
    const Transform transform = Transform::fromLattice(map);
    const NmVec3d far = world({29, 24, 19});
    EXPECT_TRUE(std::isnan(transform(far).x));
    EXPECT_TRUE(std::isnan(transform.inverse()(far).x));
    EXPECT_TRUE(std::isnan(transform.jacobian(far).m[0][0]));
  }
}

TEST(LatticeMap, tellsItsSmallestJacobianInAnyFrame) {
  const ControlLattice still({0, 10, 0, 10, 0, 10}, {2, 1, 1});
  const NmMat4d mirrored(0, 3, 0, 0, 2, 0, 0, 0, 0, 0, 1, 0, 5, 0, 0, 1);
  const NmMat4d thinner(0.5, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1);
  const NmMat4d thicker(5, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1);
  const NmMat4d turnedOver(-1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1);
  const struct {
    NmMat4d matrix;
    double expected;
  } cases[] = {{NmMat4d(), 1.0}, {thinner, 0.5}, {thicker, 0.2}, {turnedOver, -1.0}};
  for (const auto& [matrix, expected] : cases)
    EXPECT_NEAR((LatticeMap{still, mirrored, matrix}.smallestJacobian()), expected, 1e-12);
}

}  // namespace
