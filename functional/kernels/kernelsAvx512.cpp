#define VOXREG_KERNEL_SET

#include "foundation/simd/lanesAvx512.h"
#include "functional/kernels/walk.h"

namespace voxreg::detail {

namespace avx512 {
namespace {
#include "functional/kernels/kernelTable.inl"
}  // namespace
}  // namespace avx512

constexpr KernelTable avx512Kernels = avx512::makeKernelTable();

}  // namespace voxreg::detail
