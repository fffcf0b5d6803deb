#pragma once

#include <functional>

#include "variational/ControlLattice.h"

namespace voxreg::detail {

/// Gives a lattice the displacements of a function at the corners of its intervals, with second
/// derivatives of 0 at the ends of its box (natural splines).
void interpolate(const std::function<NmVec3d(const NmVec3d&)>& displacement,
                 ControlLattice& lattice);

}  // namespace voxreg::detail
