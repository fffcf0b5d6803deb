#pragma once

#include "foundation/simd/instructionSets.h"
#include "functional/kernels/walk.h"

namespace voxreg::detail {

/// The kernels of one instruction set; null where this machine or build lacks it. For tests and
/// measurements, which hand the table that they want to the walks.
const KernelTable* kernelsFor(InstructionSet set);

/// The kernels that this machine runs fastest.
const KernelTable& kernels();

}  // namespace voxreg::detail
