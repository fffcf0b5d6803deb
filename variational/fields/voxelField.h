#pragma once

#include <vector>

#include "foundation/NmVec.h"

namespace voxreg::detail {

/// A displacement at each voxel of a grid, in voxels of that grid along each axis.
struct VoxelField {  // NOLINT(bugprone-reserved-identifier): a name in the copy of the array
  NmVec3i dims;
  std::vector<float> along[3];  ///< x fastest
};

}  // namespace voxreg::detail
