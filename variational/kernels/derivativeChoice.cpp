#include "variational/kernels/derivativeChoice.h"

namespace voxreg::detail {

const DerivativeKernels* derivativesFor(InstructionSet set) {
  if (!hasInstructionSet(set)) return nullptr;
  switch (set) {
#if defined(VOXREG_X86_KERNELS)
    case InstructionSet::avx2:
      return &avx2Derivatives;
    case InstructionSet::avx512:
      return &avx512Derivatives;
#endif
    default:
      return &portableDerivatives;
  }
}

const DerivativeKernels& derivativeKernels() {
  static const DerivativeKernels& chosen = *derivativesFor(bestInstructionSet());
  return chosen;
}

}  // namespace voxreg::detail
