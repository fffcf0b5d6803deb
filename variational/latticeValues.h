#pragma once

#include <cstdint>

#include "variational/ControlLattice.h"

namespace voxreg::detail {

/// A position in intervals of a lattice, from the lower corner of its box.
NmVec3d inIntervals(const ControlLattice& lattice, const NmVec3d& position);

/// The displacements at `n` points, in intervals, with the same y and z. Controls are summed along
/// z, then y, then x, so a point's value does not depend on the points next to it.
void displacementsOnLine(const ControlLattice& lattice, const NmVec3d* points, std::int64_t n,
                         NmVec3d* found);

/// Derivatives of the displacement by the position: slopes[axis][component]. Along an axis on which
/// the position is outside the box they are 0.
void displacementSlopes(const ControlLattice& lattice, const NmVec3d& position,
                        double (&slopes)[3][3]);

}  // namespace voxreg::detail
