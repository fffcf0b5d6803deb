#pragma once

#include "foundation/NmHandle.h"
#include "foundation/NmPrimType.h"
#include "foundation/VlDataAccess.h"

class VlData;

namespace voxreg::detail {

/// The voxels that `access`, which may be null, gives in one block in grid order; otherwise null.
void* blockOf(const VlDataAccess* access);

/// The voxels of a volume of one data variable in one block, under their lock.
struct VoxelBlock {
  NmHandle<VlDataAccess> access;  ///< null where the lock or such a block is not available
  NmPrimType type;

  /// Waits for the lock. Writes no line.
  static VoxelBlock lock(VlData& volume);

  /// For writing, without waiting.
  static VoxelBlock tryLockForWriting(VlData& volume);

  bool isOpen() const { return access != nullptr; }

  /// The first voxel; T is the type of `type`.
  template <class T>
  T* as() const {
    return static_cast<T*>(access->dataPtr(0));
  }
};

}  // namespace voxreg::detail
