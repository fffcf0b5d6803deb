#include "variational/latticeDeterminants.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "tests/support/expectNear.h"

namespace {

using voxreg::ControlLattice;
using voxreg::detail::cornerDeterminants;
using voxreg::detail::DeterminantRange;

/// Coefficients along x alternate between +-amount. A third of an interval apart from knot to knot,
/// the displacement is then 27, 13, -13, -27 times amount / 81.
ControlLattice wave(double amount) {
  ControlLattice lattice({0, 8, 0, 2, 0, 2}, {8, 1, 1});
  for (std::size_t i = 0; i < lattice.values.size() / 3; ++i)
    lattice.values[i] = i % 11 % 2 == 0 ? amount : -amount;
  return lattice;
}

TEST(CornerDeterminants, findAFoldThatCentralDifferencesMiss) {
  constexpr double amount = 1.2;
  const ControlLattice lattice = wave(amount);
  const DeterminantRange found = cornerDeterminants(lattice, NmMat4d(), 3);
  EXPECT_NEAR(found.smallest, 1.0 - 26.0 / 27 * amount, 1e-12);  // -0.16
  EXPECT_NEAR(found.largest, 1.0 + 26.0 / 27 * amount, 1e-12);
  double smallestCentral = 1.0;
  for (int i = 1; i < 24; ++i) {
    const double from = lattice.displacementAt({(i - 1) / 3.0, 1, 1}).x;
    const double to = lattice.displacementAt({(i + 1) / 3.0, 1, 1}).x;
    smallestCentral = std::min(smallestCentral, 1.0 + (to - from) * 1.5);
  }
  EXPECT_NEAR(smallestCentral, 1.0 - 20.0 / 27 * amount, 1e-12);  // 0.11
}

TEST(CornerDeterminants, areThoseOfAllPointsAndSides) {
  ControlLattice lattice({-3, 6, 0, 4, 1, 7}, {3, 2, 1});
  std::mt19937 random(3);
  std::uniform_real_distribution<double> moved(-0.5, 0.5);
  for (double& value : lattice.values) value = moved(random);
  const NmMat4d linear(1.1, 0.2, 0, 0, 0, 0.9, 0.1, 0, 0, -0.1, 1, 0, 0, 0, 0, 1);
  DeterminantRange naive = {1e9, -1e9, {}};
  const auto at = [&](const NmVec3d& place) {
    NmVec3d found, by = lattice.displacementAt(place);
    linear.multDirMatrix(place, found);
    return NmVec3d(found.x + by.x, found.y + by.y, found.z + by.z);
  };
  const auto visit = [&](const NmVec3d& place, const double(&steps)[3]) {
    double m[3][3];
    for (int a = 0; a < 3; ++a) {
      NmVec3d next = place;
      next[a] += steps[a];
      for (int c = 0; c < 3; ++c) m[a][c] = (at(next)[c] - at(place)[c]) / steps[a];
    }
    double determinant = 0.0;
    for (int i = 0; i < 3; ++i)
      determinant +=
          m[0][i] * (m[1][(i + 1) % 3] * m[2][(i + 2) % 3] - m[1][(i + 2) % 3] * m[2][(i + 1) % 3]);
    if (determinant < naive.smallest) naive = {determinant, naive.largest, place};
    naive.largest = std::max(naive.largest, determinant);
  };
  for (int i = 0; i < 13 * 9 * 5; ++i)
    for (int sides = 0; sides < 8; ++sides) {
      const int index[3] = {i % 13, i / 13 % 9, i / 117};
      const int n[3] = {12, 8, 4};
      NmVec3d place;
      double steps[3];
      bool isInside = true;
      for (int a = 0; a < 3; ++a) {
        const int side = (sides >> a & 1) != 0 ? 1 : -1;
        isInside = isInside && index[a] + side >= 0 && index[a] + side <= n[a];
        place[a] = lattice.origin[a] + index[a] * lattice.spacing[a] / 4;
        steps[a] = side * lattice.spacing[a] / 4;
      }
      if (isInside) visit(place, steps);
    }
  const DeterminantRange found = cornerDeterminants(lattice, linear);
  EXPECT_NEAR(found.smallest, naive.smallest, 1e-10);
  EXPECT_NEAR(found.largest, naive.largest, 1e-10);
  expectNear(found.place, naive.place, 1e-10);
}

}  // namespace
