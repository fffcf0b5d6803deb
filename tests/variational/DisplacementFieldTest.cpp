#include <gtest/gtest.h>
#include <voxreg.h>

#include <cmath>

#include "tests/support/expectNear.h"
#include "tests/support/lattices.h"

namespace {

using voxreg::approximateByField;
using voxreg::ControlLattice;
using voxreg::DisplacementField;
using voxreg::FieldApproximation;

const NmBox3f box(-4, 8, 1, 9, 2, 8);

// Half way between nodes h apart, q * x * x differs from the straight line by q * h * h / 4.
TEST(DisplacementField, tellsHowFarItIsFromItsLattice) {
  const ControlLattice lattice =
      latticeAlongX(box, {4, 2, 3}, [](double x) { return 0.3 * x * x; });
  for (const int nodes : {5, 9, 25}) {
    const FieldApproximation found = approximateByField(lattice, {nodes, 3, 1});
    const double unit = 0.3 * 16.0 / ((nodes - 1) * (nodes - 1));
    EXPECT_NEAR(found.meanError, unit / 4, 1e-6);
    EXPECT_NEAR(found.largestError, unit / 4, 1e-6);
  }
  const ControlLattice linear = latticeAlongX(box, {4, 2, 3}, [](double x) { return 0.5 * x; });
  EXPECT_LT(approximateByField(linear, {2, 1, 1}).largestError, 1e-6);
}

TEST(DisplacementField, hasTheValuesOfItsNodesAndOfTheNearestOutside) {
  DisplacementField field = {{10, 20, 30}, {2, 1, 1}, {2, 2, 1}, {}};
  field.values = {0, 1, 2, 3, 10, 11, 12, 13, 20, 21, 22, 23};
  ASSERT_TRUE(field.isValid());
  expectNear(field.displacementAt({10, 21, 30}), NmVec3d(2, 12, 22), 1e-12);
  expectNear(field.displacementAt({11, 20.25, 99}), NmVec3d(1, 11, 21), 1e-12);
  expectNear(field.displacementAt({-5, 77, 30}), NmVec3d(2, 12, 22), 1e-12);
}

TEST(DisplacementField, isNowhereWithoutItsValues) {
  const ControlLattice lattice(box, {4, 2, 3});
  ControlLattice broken = lattice;
  broken.intervals.x = 5;
  for (const FieldApproximation& found :
       {approximateByField(lattice, {0, 3, 3}), approximateByField(broken, {3, 3, 3}),
        approximateByField(lattice, {1 << 30, 1 << 30, 1 << 30}),
        approximateByField(ControlLattice(), {3, 3, 3})}) {
    EXPECT_FALSE(found.field.isValid());
    EXPECT_TRUE(std::isnan(found.meanError) && std::isnan(found.largestError));
    EXPECT_TRUE(std::isnan(found.field.displacementAt({1, 2, 3}).x));
  }
  EXPECT_TRUE(std::isnan(broken.displacementAt({1, 2, 3}).x));
  EXPECT_TRUE(broken.refined({1, 1, 1}).values.empty());
}

}  // namespace
