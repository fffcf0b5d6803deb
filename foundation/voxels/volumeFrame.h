#pragma once

#include <cstdint>

#include "foundation/NmBox.h"
#include "foundation/NmVec.h"

class VlData;

namespace voxreg::detail {

/// Through the centres of a volume's outermost voxels, world units.
NmBox3f boxOf(const VlData& volume);

/// Voxels along each axis, clamped to the range of int.
NmVec3i dimsOf(const VlData& volume);

/// All voxels of a grid, both ends inclusive.
NmBox3i allVoxels(const NmVec3i& dims);

/// Geometry of a volume's voxels.
struct VolumeFrame {
  NmVec3i dims;
  NmBox3f box;
  NmVec3f voxelSize;  ///< extent / (n - 1), and the extent itself for one voxel

  explicit VolumeFrame(const VlData& volume);
  VolumeFrame(const NmVec3i& voxels, const NmBox3f& throughCentres);

  NmVec3f centre() const;

  /// World coordinate of a voxel index, which may be outside the volume.
  float position(int axis, std::int64_t index) const;
};

}  // namespace voxreg::detail
