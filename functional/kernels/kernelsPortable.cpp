#define VOXREG_KERNEL_SET

#include "foundation/simd/lanesPortable.h"
#include "functional/kernels/walk.h"

namespace voxreg::detail {

namespace portable {
namespace {
#include "functional/kernels/kernelTable.inl"
}  // namespace
}  // namespace portable

constexpr KernelTable portableKernels = portable::makeKernelTable();

}  // namespace voxreg::detail
