#include "foundation/simd/instructionSets.h"

// Replaces the library's own choice in the program linked with it: the machine has no instruction
// set above VOXREG_BEST_SET.
namespace voxreg::detail {

bool hasInstructionSet(InstructionSet set) {
  if (set > InstructionSet::VOXREG_BEST_SET) return false;
  return set == InstructionSet::portable || __builtin_cpu_supports("avx2");
}

InstructionSet bestInstructionSet() {
  return hasInstructionSet(InstructionSet::VOXREG_BEST_SET) ? InstructionSet::VOXREG_BEST_SET
                                                            : InstructionSet::portable;
}

}  // namespace voxreg::detail
