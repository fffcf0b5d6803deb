#include "functional/kernels/kernelChoice.h"

namespace voxreg::detail {

const KernelTable* kernelsFor(InstructionSet set) {
  if (!hasInstructionSet(set)) return nullptr;
  switch (set) {
#if defined(VOXREG_X86_KERNELS)
    case InstructionSet::avx2:
      return &avx2Kernels;
    case InstructionSet::avx512:
      return &avx512Kernels;
#endif
    default:
      return &portableKernels;
  }
}

const KernelTable& kernels() {
  static const KernelTable& chosen = *kernelsFor(bestInstructionSet());
  return chosen;
}

}  // namespace voxreg::detail
