#pragma once

#include "foundation/NmHandle.h"
#include "foundation/VlDataAccess.h"

class VlData;

namespace voxreg::detail {

/// Access to voxels in one block in grid order, one value each. Interleaved data variables are not
/// contiguous in this sense. Null, without a log line, if the lock or such a block is not
/// available.
NmHandle<VlDataAccess> lockScalars(VlData& volume);

/// The same for writing, without waiting.
NmHandle<VlDataAccess> tryLockScalars(VlData& volume);

}  // namespace voxreg::detail
