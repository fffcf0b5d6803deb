#pragma once

#include <utility>

#include "foundation/VlData.h"
#include "foundation/voxels/keepAlive.h"
#include "foundation/voxels/voxelLock.h"

/// What an access releases at its end: the lock first, then its share in the volume, which owns
/// that lock. An access holds several if a volume returns another volume's access.
struct VlDataAccess::Hold : NmAllocated {
  Hold(VlData* owner, voxreg::detail::VoxelLease&& taken)
      : volume(*owner), lease(std::move(taken)) {}

  voxreg::detail::KeepAlive volume;
  voxreg::detail::VoxelLease lease;
  Hold* next = nullptr;
};
