#pragma once

#include "foundation/NmHandle.h"
#include "foundation/VlMemoryData.h"

namespace voxreg::detail {

/// A zeroed volume in memory; null, without a log line, if memory is not available.
NmHandle<VlMemoryData> makeMemoryVolume(const NmVec3l& dims, NmPrimType type, int numDataVars);

}  // namespace voxreg::detail
