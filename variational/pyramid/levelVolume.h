#pragma once

#include <vector>

#include "foundation/voxels/volumeFrame.h"

namespace voxreg::detail {

/// A volume that a search is given. The voxels belong to the caller.
struct SearchVolume {
  const void* voxels;
  int type;  ///< voxelTypeIndex
  VolumeFrame frame;
  const unsigned char* mask = nullptr;  ///< of each voxel, 0 if it does not count; null: all count
};

/// A volume on one level of a search. Voxels that do not count are NaN.
struct LevelVolume {
  std::vector<float> voxels;
  VolumeFrame frame;
};

/// Number of voxels of a grid.
std::int64_t voxelCount(const NmVec3i& dims);

/// The frame of a volume that is reduced by `factors`.
VolumeFrame reducedFrame(const VolumeFrame& frame, const NmVec3i& factors);

/// The volume under the filter (1, 2, 1) / 4 along each axis, which counts only the voxels that
/// count.
LevelVolume smoothedVolume(const LevelVolume& volume);

/// Means of blocks of `factors` voxels. The voxels that a last, smaller block would take are left
/// out. Voxels that do not count, by the mask or because they are not finite, are skipped; a block
/// that holds no others does not count.
LevelVolume reducedVolume(const SearchVolume& volume, const NmVec3i& factors);

}  // namespace voxreg::detail
