#define VOXREG_KERNEL_SET

#include "foundation/simd/lanesAvx2.h"
#include "functional/kernels/walk.h"

namespace voxreg::detail {

namespace avx2 {
namespace {
#include "functional/kernels/kernelTable.inl"
}  // namespace
}  // namespace avx2

constexpr KernelTable avx2Kernels = avx2::makeKernelTable();

}  // namespace voxreg::detail
