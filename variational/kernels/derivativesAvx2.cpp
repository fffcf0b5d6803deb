#define VOXREG_KERNEL_SET

#include "foundation/simd/lanesAvx2.h"
#include "variational/kernels/derivativeWalk.h"

namespace voxreg::detail {

namespace avx2 {
namespace {
#include "variational/kernels/derivativeTable.inl"
}  // namespace
}  // namespace avx2

constexpr DerivativeKernels avx2Derivatives = avx2::makeDerivatives();

}  // namespace voxreg::detail
