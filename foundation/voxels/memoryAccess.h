#pragma once

#include "foundation/NmHandle.h"
#include "foundation/VlDataAccess.h"
#include "foundation/voxels/voxelGrid.h"

namespace voxreg::detail {

/// Access to one block of voxels of a supported type, in grid order, which it does not own.
NmHandle<VlDataAccess> makeMemoryAccess(const VoxelGrid& grid, void* voxels, bool writable);

}  // namespace voxreg::detail
