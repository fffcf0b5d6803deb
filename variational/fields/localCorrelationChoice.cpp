#include "variational/fields/localCorrelationKernels.h"

namespace voxreg::detail {

const LocalCorrelationKernels* localCorrelationKernelsFor(InstructionSet set) {
  if (!hasInstructionSet(set)) return nullptr;
  switch (set) {
#if defined(VOXREG_X86_KERNELS)
    case InstructionSet::avx2:
      return &avx2LocalCorrelation;
    case InstructionSet::avx512:
      return &avx512LocalCorrelation;
#endif
    default:
      return &portableLocalCorrelation;
  }
}

const LocalCorrelationKernels& localCorrelationKernels() {
  static const LocalCorrelationKernels& chosen = *localCorrelationKernelsFor(bestInstructionSet());
  return chosen;
}

}  // namespace voxreg::detail
