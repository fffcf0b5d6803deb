#define VOXREG_KERNEL_SET

#include "foundation/simd/lanesPortable.h"
#include "variational/kernels/derivativeWalk.h"

namespace voxreg::detail {

namespace portable {
namespace {
#include "variational/kernels/derivativeTable.inl"
}  // namespace
}  // namespace portable

constexpr DerivativeKernels portableDerivatives = portable::makeDerivatives();

}  // namespace voxreg::detail
