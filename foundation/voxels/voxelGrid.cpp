#include "foundation/voxels/voxelGrid.h"

#include <cstddef>
#include <cstdint>
#include <limits>

namespace voxreg::detail {

std::int64_t VoxelGrid::numValues() const {
  const std::int64_t counts[4] = {dims.x, dims.y, dims.z, numDataVars};
  std::int64_t room = std::numeric_limits<std::ptrdiff_t>::max() / sizeof(double);
  std::int64_t product = 1;
  for (const std::int64_t count : counts) {
    if (count < 1 || count > room) return -1;
    product *= count;
    room /= count;
  }
  return product;
}

}  // namespace voxreg::detail
