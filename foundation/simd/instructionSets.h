#pragma once

namespace voxreg::detail {

/// The instruction sets that kernels are compiled for, each next one preferred to those before it.
/// All give the same bits.
enum class InstructionSet { portable, avx2, avx512 };

inline constexpr InstructionSet instructionSets[] = {InstructionSet::portable, InstructionSet::avx2,
                                                     InstructionSet::avx512};

/// False where the library was built without kernels for `set`, or the processor or its operating
/// system lacks it.
bool hasInstructionSet(InstructionSet set);

/// The one that this machine runs fastest.
InstructionSet bestInstructionSet();

}  // namespace voxreg::detail
