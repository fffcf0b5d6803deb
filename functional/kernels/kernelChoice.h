#pragma once

#include "foundation/simd/instructionSets.h"
#include "functional/kernels/walk.h"

namespace voxreg::detail {

/// The kernels of one instruction set; null if this machine or build lacks it. For tests and
/// measurements, which pass the table to the walks.
const KernelTable* kernelsFor(InstructionSet set);

/// The fastest kernels for this machine.
const KernelTable& kernels();

}  // namespace voxreg::detail
