#pragma once

#include <utility>

#include "foundation/VlData.h"
#include "foundation/voxels/keepAlive.h"
#include "foundation/voxels/voxelLock.h"

/// What an access gives back when it goes: the lock first, then its part in the volume, which owns
/// that lock. An access carries several where a volume hands out another volume's access.
struct VlDataAccess::Hold : NmAllocated {
  Hold(VlData* owner, voxreg::detail::VoxelLease&& taken)
      : volume(*owner), lease(std::move(taken)) {}

  voxreg::detail::KeepAlive volume;
  voxreg::detail::VoxelLease lease;
  Hold* next = nullptr;
};
