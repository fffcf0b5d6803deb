#include "variational/fields/fieldKernels.h"

namespace voxreg::detail {

const FieldKernels* fieldKernelsFor(InstructionSet set) {
  if (!hasInstructionSet(set)) return nullptr;
  switch (set) {
#if defined(VOXREG_X86_KERNELS)
    case InstructionSet::avx2:
      return &avx2FieldKernels;
    case InstructionSet::avx512:
      return &avx512FieldKernels;
#endif
    default:
      return &portableFieldKernels;
  }
}

const FieldKernels& fieldKernels() {
  static const FieldKernels& chosen = *fieldKernelsFor(bestInstructionSet());
  return chosen;
}

}  // namespace voxreg::detail
