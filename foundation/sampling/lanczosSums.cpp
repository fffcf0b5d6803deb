#include "foundation/sampling/lanczosSums.h"

#include <cstdint>
#include <limits>

namespace voxreg::detail {
namespace {

const LanczosSums& sumsFor(InstructionSet set) {
  switch (set) {
#if defined(VOXREG_X86_KERNELS)
    case InstructionSet::avx2:
      return avx2LanczosSums;
    case InstructionSet::avx512:
      return avx512LanczosSums;
#endif
    default:
      return portableLanczosSums;
  }
}

}  // namespace

LanczosSum lanczosSum(const VoxelGrid& grid, InstructionSet set) {
  constexpr std::int64_t longest = std::numeric_limits<int>::max() / 2;
  if (grid.numDataVars != 1) return nullptr;
  if (grid.dims.x > longest || grid.dims.y > longest || grid.dims.z > longest) return nullptr;
  return sumsFor(set).ofType[grid.type];
}

}  // namespace voxreg::detail
