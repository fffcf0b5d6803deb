#pragma once

#include "foundation/VlMemoryData.h"
#include "foundation/sampling/axisTaps.h"
#include "foundation/voxels/voxelGrid.h"

namespace voxreg::detail {

/// What an operation gives, or a text that says why it gives nothing.
template <class T>
struct Outcome {
  NmHandle<T> object;
  const char* reason = nullptr;
};

/// The operations of a volume without their log: for what fails in silence or in words of its own.
/// A reason is null where there was no failure.
struct VolumeCore {
  /// Waits for the lock.
  static Outcome<VlDataAccess> lock(VlData& volume, bool write);

  /// Does not wait: `isBusy` tells whether waiting would have helped.
  static NmHandle<VlDataAccess> tryLock(VlData& volume, bool write, bool& isBusy);

  static Outcome<VlEvaluator> makeEvaluator(VlData& volume, TapRule rule);

  /// Writes 0, 0 on failure.
  static const char* findRange(VlData& volume, float& min, float& max);

  /// Zeroed voxels in place of those that the volume has.
  static const char* allocate(VlMemoryData& volume, const VoxelGrid& grid);

  static const char* setBoundingBox(VlMemoryData& volume, const NmBox3f& box);
};

}  // namespace voxreg::detail
