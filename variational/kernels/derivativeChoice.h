#pragma once

#include "foundation/simd/instructionSets.h"
#include "variational/kernels/derivativeWalk.h"

namespace voxreg::detail {

/// The walks of one instruction set; null if this machine or build lacks it.
const DerivativeKernels* derivativesFor(InstructionSet set);

/// The fastest walks for this machine.
const DerivativeKernels& derivativeKernels();

}  // namespace voxreg::detail
