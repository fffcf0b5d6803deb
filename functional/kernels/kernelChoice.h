#pragma once

#include "functional/kernels/walk.h"

namespace voxreg::detail {

/// The instruction sets that kernels are compiled for, each next one preferred to those before it.
/// All give the same bits.
enum class InstructionSet { portable, avx2, avx512 };

inline constexpr InstructionSet instructionSets[] = {InstructionSet::portable, InstructionSet::avx2,
                                                     InstructionSet::avx512};

/// The kernels of one instruction set; null where the library was built without them or the
/// processor or its operating system lacks it. For tests and measurements, which hand the table
/// that they want to the walks.
const KernelTable* kernelsFor(InstructionSet set);

/// The kernels that this machine runs fastest.
const KernelTable& kernels();

}  // namespace voxreg::detail
