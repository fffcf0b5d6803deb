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

  /// Number of values of all voxels and data variables; -1 if a count is below 1 or the block's
  /// size in bytes is not representable.
  std::int64_t numValues() const;
};

}  // namespace voxreg::detail
