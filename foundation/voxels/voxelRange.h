#pragma once

#include "foundation/VlDataAccess.h"
#include "foundation/voxels/voxelGrid.h"

namespace voxreg::detail {

/// Smallest and largest value of `access`; NaN is skipped. Returns false, with `min` and `max`
/// unchanged, if there is no number or a line cannot be read.
bool findVoxelRange(const VlDataAccess& access, const VoxelGrid& grid, float& min, float& max);

}  // namespace voxreg::detail
