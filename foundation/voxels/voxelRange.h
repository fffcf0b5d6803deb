#pragma once

#include "foundation/VlDataAccess.h"
#include "foundation/voxels/voxelGrid.h"

namespace voxreg::detail {

/// Smallest and largest value behind `access`, NaN passed over. False, `min` and `max` untouched,
/// where there is no number or a line can't be read.
bool findVoxelRange(const VlDataAccess& access, const VoxelGrid& grid, float& min, float& max);

}  // namespace voxreg::detail
