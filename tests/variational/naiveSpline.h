#pragma once

#include <cmath>

#include "variational/ControlLattice.h"

/// Uniform B-splines by their recursion, and what lattices say by the plain sum over all controls.
namespace naive {

/// The derivative of order d of the central B-spline of degree n.
inline double spline(int n, double s, int d) {
  if (d > 0) return spline(n - 1, s + 0.5, d - 1) - spline(n - 1, s - 0.5, d - 1);
  if (n == 0) return s >= -0.5 && s < 0.5 ? 1.0 : 0.0;
  const double half = 0.5 * (n + 1);
  return ((half + s) * spline(n - 1, s + 0.5, 0) + (half - s) * spline(n - 1, s - 0.5, 0)) / n;
}

/// Share of control i along an axis in the derivative of order d at a position.
inline double share(const voxreg::ControlLattice& lattice, int axis, double position, int i,
                    int d) {
  const double s = (position - lattice.origin[axis]) / lattice.spacing[axis] - (i - 1);
  return spline(3, s, d) / std::pow(lattice.spacing[axis], d);
}

inline NmVec3d displacement(const voxreg::ControlLattice& lattice, const NmVec3d& position) {
  NmVec3d sum;
  std::size_t at = 0;
  for (int c = 0; c < 3; ++c)
    for (int k = 0; k < lattice.controlsAlong(2); ++k)
      for (int j = 0; j < lattice.controlsAlong(1); ++j)
        for (int i = 0; i < lattice.controlsAlong(0); ++i)
          sum[c] += share(lattice, 0, position.x, i, 0) * share(lattice, 1, position.y, j, 0) *
                    share(lattice, 2, position.z, k, 0) * lattice.values[at++];
  return sum;
}

}  // namespace naive
