#pragma once

#include <random>

#include "workflow/LatticeMap.h"

/// A lattice whose displacement is (polynomial(x), 0, 0), with x in intervals from the lower end of
/// the box, for the polynomial with these values at whole numbers: linear ones are met exactly,
/// x * x becomes x * x + 1 / 3.
template <class Polynomial>
voxreg::ControlLattice latticeAlongX(const NmBox3f& box, const NmVec3i& intervals,
                                     Polynomial polynomial) {
  voxreg::ControlLattice lattice(box, intervals);
  const std::int64_t n = lattice.controlsAlong(0);
  for (std::int64_t i = 0; i < lattice.controlCount(); ++i)
    lattice.values[static_cast<std::size_t>(i)] = polynomial(static_cast<double>(i % n - 1));
  return lattice;
}

/// A lattice with 4 x 3 x 2 intervals over a box in a frame that is turned and moved from the
/// world, with coefficients of up to `amount`, on top of an affine matrix.
inline voxreg::LatticeMap someLattice(double amount) {
  voxreg::LatticeMap map = {voxreg::ControlLattice({-10, 30, 0, 25, 5, 20}, {4, 3, 2}),
                            NmMat4d(0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1, 0, 7, 8, 9, 1),
                            NmMat4d(1.1, 0.2, 0, 0, 0, 0.9, 0.1, 0, 0, 0, 1, 0, 4, 5, 6, 1)};
  std::mt19937 random(11);
  std::uniform_real_distribution<double> moved(-amount, amount);
  for (double& value : map.lattice.values) value = moved(random);
  return map;
}
