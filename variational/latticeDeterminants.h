#pragma once

#include "foundation/NmMat4d.h"
#include "variational/ControlLattice.h"

namespace voxreg::detail {

/// Determinants of a map's derivative.
struct DeterminantRange {
  double smallest;
  double largest;
  NmVec3d place;  ///< of the smallest one, in the box
};

/// Of x * linear + the displacement at x, over the box of a lattice: at a regular set of points,
/// `perInterval` to an interval on each axis, from differences with the neighbouring points,
/// forward or backward along each axis, so eight determinants at each point. Differences across two
/// steps would miss a fold that reaches over one.
DeterminantRange cornerDeterminants(const ControlLattice& lattice, const NmMat4d& linear,
                                    int perInterval = 4);

}  // namespace voxreg::detail
