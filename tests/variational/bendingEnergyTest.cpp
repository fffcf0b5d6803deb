#include "variational/objective/bendingEnergy.h"

#include <gtest/gtest.h>

#include <array>

#include "tests/variational/naiveSpline.h"
#include "tests/variational/randomLattice.h"

namespace {

using voxreg::ControlLattice;
using voxreg::detail::BendingEnergy;

const NmBox3f box(-4, 5, 1, 9, 0, 7);

double energyOf(const ControlLattice& lattice) {
  return BendingEnergy(lattice).evaluate(lattice.values, 0.0, nullptr);
}

/// Points of Simpson's rule along an axis, and the shares of the controls at each, by order.
struct AxisPoints {
  std::vector<double> weights;  ///< of a mean
  std::vector<std::vector<std::array<double, 3>>> shares;

  AxisPoints(const ControlLattice& lattice, int axis) {
    constexpr int steps = 10;  // in an interval, even
    const int n = steps * lattice.intervals[axis];
    for (int p = 0; p <= n; ++p) {
      const double position = lattice.origin[axis] + lattice.spacing[axis] * p / steps;
      weights.push_back((p == 0 || p == n ? 1.0 : p % 2 == 1 ? 4.0 : 2.0) / (3.0 * n));
      auto& here = shares.emplace_back();
      for (int i = 0; i < lattice.controlsAlong(axis); ++i) {
        auto& orders = here.emplace_back();
        for (int d = 0; d < 3; ++d)
          orders[static_cast<std::size_t>(d)] = naive::share(lattice, axis, position, i, d);
      }
    }
  }
};

/// The mean over the box of the square of one derivative, summed over the components.
double meanSquare(const ControlLattice& lattice, const std::array<std::size_t, 3>& orders) {
  const AxisPoints xs(lattice, 0);
  const AxisPoints ys(lattice, 1);
  const AxisPoints zs(lattice, 2);
  double mean = 0.0;
  for (std::size_t z = 0; z < zs.weights.size(); ++z)
    for (std::size_t y = 0; y < ys.weights.size(); ++y)
      for (std::size_t x = 0; x < xs.weights.size(); ++x) {
        std::size_t at = 0;
        for (int c = 0; c < 3; ++c) {
          double d = 0.0;
          for (const auto& sz : zs.shares[z])
            for (const auto& sy : ys.shares[y])
              for (const auto& sx : xs.shares[x])
                d += sx[orders[0]] * sy[orders[1]] * sz[orders[2]] * lattice.values[at++];
          mean += xs.weights[x] * ys.weights[y] * zs.weights[z] * d * d;
        }
      }
  return mean;
}

TEST(BendingEnergy, IsTheMeanOfTheSquaredSecondDerivatives) {
  const ControlLattice lattice = randomLattice(box, {2, 1, 1});
  const double unmixed = meanSquare(lattice, {2, 0, 0}) + meanSquare(lattice, {0, 2, 0}) +
                         meanSquare(lattice, {0, 0, 2});
  const double mixed = meanSquare(lattice, {1, 1, 0}) + meanSquare(lattice, {1, 0, 1}) +
                       meanSquare(lattice, {0, 1, 1});
  EXPECT_NEAR(energyOf(lattice), unmixed + 2.0 * mixed, 1e-4 * energyOf(lattice));
}

TEST(BendingEnergy, AddsItsWeighedGradient) {
  ControlLattice lattice = randomLattice(box, {2, 3, 1});
  BendingEnergy energy(lattice);
  std::vector<double> gradient(lattice.values.size(), 5.0);
  const double value = energy.evaluate(lattice.values, 0.25, gradient.data());
  EXPECT_EQ(value, energyOf(lattice));
  for (std::size_t i = 0; i < gradient.size(); i += 5) {
    constexpr double h = 1e-3;  // exact for any, up to rounding: the energy is quadratic
    const double kept = lattice.values[i];
    lattice.values[i] = kept + h;
    const double plus = energyOf(lattice);
    lattice.values[i] = kept - h;
    EXPECT_NEAR(gradient[i] - 5.0, 0.25 * (plus - energyOf(lattice)) / (2.0 * h), 1e-9 * value);
    lattice.values[i] = kept;
  }
}

TEST(BendingEnergy, DependsOnTheMapAlone) {
  const ControlLattice lattice = randomLattice(box, {3, 2, 1});
  for (const NmVec3i axes : {NmVec3i(1, 0, 0), {0, 1, 1}, {1, 1, 1}})
    EXPECT_NEAR(energyOf(lattice.refined(axes)), energyOf(lattice), 1e-9 * energyOf(lattice));
}

TEST(BendingEnergy, LinearDisplacementsHaveNone) {
  ControlLattice lattice(box, {3, 2, 4});
  std::size_t at = 0;
  for (int c = 0; c < 3; ++c)
    for (int k = 0; k < lattice.controlsAlong(2); ++k)
      for (int j = 0; j < lattice.controlsAlong(1); ++j)
        for (int i = 0; i < lattice.controlsAlong(0); ++i)
          lattice.values[at++] = 0.3 * i - 0.7 * (c + 1) * j + 0.2 * k + 2.0;
  EXPECT_NEAR(energyOf(lattice), 0.0, 1e-14);
}

}  // namespace
