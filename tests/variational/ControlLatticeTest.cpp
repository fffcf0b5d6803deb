#include "variational/ControlLattice.h"

#include <gtest/gtest.h>

#include "tests/support/expectNear.h"
#include "tests/variational/naiveSpline.h"
#include "tests/variational/randomLattice.h"

namespace {

using voxreg::ControlLattice;

const NmBox3f box(-4, 5, 1, 9, 0, 7);

/// Calls f with positions in the box, from corner to corner.
template <class F>
void forEachPosition(F f) {
  constexpr int n = 5;
  for (int z = 0; z < n; ++z)
    for (int y = 0; y < n; ++y)
      for (int x = 0; x < n; ++x) f(NmVec3d(-4.0 + 2.25 * x, 1.0 + 2.0 * y, 1.75 * z));
}

TEST(ControlLattice, IsTheSumOfItsSplines) {
  const ControlLattice lattice = randomLattice(box, {3, 1, 2});
  forEachPosition([&](const NmVec3d& p) {
    expectNear(lattice.displacementAt(p), naive::displacement(lattice, p), 1e-12);
  });
}

TEST(ControlLattice, KeepsOnOutsideWhatItIsAtTheEndOfItsBox) {
  const ControlLattice lattice = randomLattice(box, {3, 1, 2});
  expectNear(lattice.displacementAt({-50.0, 4.0, 90.0}), lattice.displacementAt({-4.0, 4.0, 7.0}),
             0.0);
}

TEST(ControlLattice, RefinementLeavesTheMap) {
  const ControlLattice lattice = randomLattice(box, {3, 1, 2});
  for (const NmVec3i axes : {NmVec3i(1, 0, 0), {0, 1, 0}, {0, 0, 1}, {1, 1, 1}, {0, 0, 0}}) {
    const ControlLattice fine = lattice.refined(axes);
    for (int a = 0; a < 3; ++a)
      EXPECT_EQ(fine.intervals[a], lattice.intervals[a] * (axes[a] + 1)) << a;
    ASSERT_EQ(fine.values.size(), static_cast<std::size_t>(3 * fine.controlCount()));
    forEachPosition([&](const NmVec3d& p) {
      expectNear(fine.displacementAt(p), lattice.displacementAt(p), 1e-12);
    });
  }
}

TEST(ControlLattice, AnAxisWithoutExtentHasOneInterval) {
  const ControlLattice lattice = randomLattice({0, 4, 2, 2, 0, 6}, {2, 0, 2});
  EXPECT_EQ(lattice.intervals.y, 1);
  expectNear(lattice.displacementAt({1.0, 2.0, 5.0}), naive::displacement(lattice, {1.0, 2.0, 5.0}),
             1e-12);
}

}  // namespace
