#pragma once

#include <cstdint>

#include "foundation/NmPrimType.h"
#include "foundation/NmVec.h"

namespace voxreg::detail {

/// Shape and type of a volume's voxels.
struct VoxelGrid {
  NmVec3l dims;
  int numDataVars = 0;
  NmPrimType type;

  /// Values of all voxels and data variables; -1 where a count is below 1 or the bytes of the block
  /// are more than a size can hold.
  std::int64_t numValues() const;
};

}  // namespace voxreg::detail
