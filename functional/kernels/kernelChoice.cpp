#include "functional/kernels/kernelChoice.h"

namespace voxreg::detail {
namespace {

const KernelTable& choose() {
  const KernelTable* best = nullptr;
  for (const InstructionSet set : instructionSets)
    if (const KernelTable* const table = kernelsFor(set)) best = table;
  return *best;
}

}  // namespace

const KernelTable* kernelsFor(InstructionSet set) {
  switch (set) {
    case InstructionSet::portable:
      return &portableKernels;
#if defined(VOXREG_X86_KERNELS)
    // These ask the operating system too: a register that it does not save counts as missing.
    case InstructionSet::avx2:
      return __builtin_cpu_supports("avx2") ? &avx2Kernels : nullptr;
    case InstructionSet::avx512:
      return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
                     __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl")
                 ? &avx512Kernels
                 : nullptr;
#endif
    default:
      return nullptr;
  }
}

const KernelTable& kernels() {
  static const KernelTable& chosen = choose();
  return chosen;
}

}  // namespace voxreg::detail
