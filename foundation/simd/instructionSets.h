#pragma once

namespace voxreg::detail {

/// The instruction sets for which kernels are compiled, in ascending order of preference. All give
/// the same bits.
enum class InstructionSet { portable, avx2, avx512 };

inline constexpr InstructionSet instructionSets[] = {InstructionSet::portable, InstructionSet::avx2,
                                                     InstructionSet::avx512};

/// False if the library was built without kernels for `set`, or if the processor or its operating
/// system lacks it.
bool hasInstructionSet(InstructionSet set);

/// The fastest set for this machine.
InstructionSet bestInstructionSet();

}  // namespace voxreg::detail
