#pragma once

#include "foundation/NmHandle.h"
#include "foundation/VlMemoryData.h"

namespace voxreg::detail {

/// A zeroed volume in memory; null, without a line, when it is not to be had.
NmHandle<VlMemoryData> makeMemoryVolume(const NmVec3l& dims, NmPrimType type, int numDataVars);

}  // namespace voxreg::detail
