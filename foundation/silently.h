#pragma once

#include "foundation/VlMemoryData.h"
#include "foundation/voxelGrid.h"

namespace voxreg::detail {

/// VlData::lock and VlMemoryData::init without their error lines, for operations that fail in
/// silence.
NmHandle<VlDataAccess> lockSilently(VlData& volume, bool write);
bool initSilently(VlMemoryData& volume, const VoxelGrid& grid);

}  // namespace voxreg::detail
