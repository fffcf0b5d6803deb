#pragma once

#include "foundation/NmBox.h"
#include "foundation/VlData.h"

namespace voxreg::detail {

/// The part of a volume that a grid of bricks spans.
struct BrickRegion {
  NmBox3f box;
  NmVec3i first;  ///< voxel
  NmVec3i dims;   ///< voxels
  NmVec3f voxelSize;

  /// The whole volume if the region is flat or empty.
  BrickRegion(const VlData& volume, const NmBox3i& voxels);

  int longestAxis() const;
};

}  // namespace voxreg::detail
