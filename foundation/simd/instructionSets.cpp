#include "foundation/simd/instructionSets.h"

namespace voxreg::detail {

bool hasInstructionSet(InstructionSet set) {
  switch (set) {
    case InstructionSet::portable:
      return true;
#if defined(VOXREG_X86_KERNELS)
    // These also query the operating system: a register that it does not save counts as missing.
    case InstructionSet::avx2:
      return __builtin_cpu_supports("avx2");
    case InstructionSet::avx512:
      return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
             __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl");
#endif
    default:
      return false;
  }
}

InstructionSet bestInstructionSet() {
  InstructionSet best = InstructionSet::portable;
  for (const InstructionSet set : instructionSets)
    if (hasInstructionSet(set)) best = set;
  return best;
}

}  // namespace voxreg::detail
