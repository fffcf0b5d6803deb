#include <voxreg.h>

#include <cmath>

#include "tests/support/expectNear.h"
#include "tests/support/lattices.h"

namespace {

using voxreg::approximateByBricks;
using voxreg::BrickApproximation;
using voxreg::LatticeMap;

const NmBox3f box(-4, 8, 1, 9, 2, 8);

TEST(BrickApproximation, ofALinearMapIsThatMap) {
  LatticeMap map = someLattice(0.0);
  map.lattice = latticeAlongX(box, {4, 2, 3}, [](double x) { return 0.7 * x - 1.0; });
  const BrickApproximation found = approximateByBricks(map, {2, 1, 3});
  EXPECT_EQ(found.bricks.beyond, voxreg::BrickGrid::Beyond::displacement);
  EXPECT_LT(found.largestError, 1e-12);
  for (const NmVec3d& inBox : {NmVec3d(-4, 1, 2), NmVec3d(1, 2, 3), NmVec3d(8, 9, 8)})
    expectNear(found.bricks.ofBox(inBox), map.ofBox(inBox), 1e-12);
}

// Between vertices h apart, q * x * x differs from the straight line by q * h * h * t * (1 - t):
// 1 / 4 in the middle and 5 / 36 at 1 / 6 and 5 / 6.
TEST(BrickApproximation, tellsItsError) {
  const LatticeMap map = {latticeAlongX(box, {4, 1, 1}, [](double x) { return 0.3 * x * x; }),
                          NmMat4d(0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1, 0, 7, 8, 9, 1),
                          {}};
  for (const int bricks : {4, 8, 10}) {
    const BrickApproximation found = approximateByBricks(map, {bricks, 1, 1});
    const double unit = 0.3 * 16.0 / (bricks * bricks);
    EXPECT_NEAR(found.largestError, unit / 4, 1e-12);
    EXPECT_NEAR(found.meanError, unit * 19 / 108, 1e-12);
    NmVec3d vertex;  // the second one
    for (int c = 0; c < 3; ++c) vertex[c] = found.bricks.grid.vertices[3 + c];
    expectNear(vertex, map.ofBox({-4 + 12.0 / bricks, 1, 2}), 1e-12);
  }
}

TEST(BrickApproximation, choosesBricksForTheIntervals) {
  const struct {
    NmVec3i intervals, asked, expected;
  } cases[] = {{{4, 10, 11}, {}, {12, 30, 22}},
               {{16, 17, 1}, {}, {32, 32, 3}},
               {{2, 2, 2}, {5, 40, 0}, {5, 32, 6}},
               {{2, 2, 2}, {-1, 1, 32}, {6, 1, 32}}};
  for (const auto& [intervals, asked, expected] : cases) {
    const LatticeMap map = {voxreg::ControlLattice(box, intervals), {}, {}};
    EXPECT_EQ(approximateByBricks(map, asked).bricks.grid.numBricks, expected);
  }
}

TEST(BrickApproximation, ofWhatHasNoneIsNotValid) {
  LatticeMap broken = someLattice(1.0);
  broken.lattice.values.pop_back();
  LatticeMap tooFine = someLattice(1.0);  // its box is empty in single precision
  tooFine.lattice.origin.x = 1e6;
  tooFine.lattice.spacing.x = 1e-4;
  for (const LatticeMap& map : {LatticeMap(), broken, tooFine}) {
    const BrickApproximation found = approximateByBricks(map);
    EXPECT_FALSE(found.bricks.isValid());
    EXPECT_TRUE(std::isnan(found.meanError) && std::isnan(found.largestError));
  }
}

}  // namespace
