#pragma once

#include "variational/ControlLattice.h"
#include "variational/cornerDeterminants.h"

namespace voxreg::detail {

/// Over the box of a lattice, at `perInterval` points to an interval on each axis.
DeterminantRange cornerDeterminants(const ControlLattice& lattice, const NmMat4d& linear,
                                    int perInterval = 4);

}  // namespace voxreg::detail
