#pragma once

#include "foundation/VlMemoryData.h"
#include "foundation/sampling/axisTaps.h"
#include "foundation/voxels/voxelGrid.h"

namespace voxreg::detail {

/// The result of an operation, or a text with the reason for its failure.
template <class T>
struct Outcome {
  NmHandle<T> object;
  const char* reason = nullptr;
};

/// The operations of a volume without logging, for callers that fail silently or with their own
/// message. A reason is null if there was no failure.
struct VolumeCore {
  /// Waits for the lock.
  static Outcome<VlDataAccess> lock(VlData& volume, bool write);

  /// Does not wait; `isBusy` is set if waiting would have helped.
  static NmHandle<VlDataAccess> tryLock(VlData& volume, bool write, bool& isBusy);

  static Outcome<VlEvaluator> makeEvaluator(VlData& volume, TapRule rule);

  /// Writes 0, 0 on failure.
  static const char* findRange(VlData& volume, float& min, float& max);

  /// Replaces the volume's voxels with zeroed ones.
  static const char* allocate(VlMemoryData& volume, const VoxelGrid& grid);

  static const char* setBoundingBox(VlMemoryData& volume, const NmBox3f& box);
};

}  // namespace voxreg::detail
