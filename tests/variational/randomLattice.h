#pragma once

#include <random>

#include "variational/ControlLattice.h"

/// A lattice with coefficients of up to 1 in either direction.
inline voxreg::ControlLattice randomLattice(const NmBox3f& box, const NmVec3i& intervals) {
  voxreg::ControlLattice lattice(box, intervals);
  std::mt19937 random(17);
  std::uniform_real_distribution<double> value(-1.0, 1.0);
  for (double& v : lattice.values) v = value(random);
  return lattice;
}
