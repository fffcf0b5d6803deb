#include "functional/kernels/lanesPortable.h"
#include "functional/kernels/walk.h"
#include "transforms/brickStages.h"

namespace voxreg::detail {

namespace portable {
namespace {
#include "functional/kernels/kernelBody.inl"
}  // namespace
}  // namespace portable

constexpr KernelTable portableKernels = portable::makeKernelTable();

const KernelTable& kernels() {
  return portableKernels;
}

}  // namespace voxreg::detail
