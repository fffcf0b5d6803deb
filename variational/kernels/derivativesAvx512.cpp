#define VOXREG_KERNEL_SET

#include "foundation/simd/lanesAvx512.h"
#include "variational/kernels/derivativeWalk.h"

namespace voxreg::detail {

namespace avx512 {
namespace {
#include "variational/kernels/derivativeTable.inl"
}  // namespace
}  // namespace avx512

constexpr DerivativeKernels avx512Derivatives = avx512::makeDerivatives();

}  // namespace voxreg::detail
