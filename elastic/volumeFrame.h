#pragma once

#include <cstdint>

#include "foundation/NmBox.h"
#include "foundation/NmVec.h"

class VlData;

namespace voxreg::detail {

/// Where the voxels of a volume lie.
struct VolumeFrame {
  NmVec3i dims;
  NmBox3f box;
  NmVec3f voxelSize;  ///< extent / (n - 1), and the extent itself for one voxel

  explicit VolumeFrame(const VlData& volume);

  NmVec3f centre() const;
  NmBox3i allVoxels() const;

  /// World coordinate of a voxel, which may lie outside.
  float position(int axis, std::int64_t index) const;
};

/// True when `axes` holds each of 0, 1 and 2.
bool isPermutation(const NmVec3i& axes);

}  // namespace voxreg::detail
