#include "foundation/voxelGrid.h"

#include <limits>

namespace voxreg::detail {

long VoxelGrid::numValues() const {
  const long counts[4] = {dims.x, dims.y, dims.z, numDataVars};
  long room = std::numeric_limits<long>::max() / static_cast<long>(sizeof(double));
  long product = 1;
  for (const long count : counts) {
    if (count < 1 || count > room) return -1;
    product *= count;
    room /= count;
  }
  return product;
}

}  // namespace voxreg::detail
