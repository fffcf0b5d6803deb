#pragma once

#include <random>

#include "workflow/LatticeMap.h"

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
