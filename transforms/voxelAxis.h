#pragma once

#include "foundation/NmBox.h"
#include "foundation/NmVec.h"

namespace voxreg::detail {

/// One axis of a volume, for finding voxels by world position. All of it is single precision, and
/// a position that is no number counts as the end of the axis.
class VoxelAxis {
 public:
  VoxelAxis(const NmBox3f& box, const NmVec3l& dims, int axis);

  /// The last voxel; -1 on an axis without voxels.
  int last() const { return last_; }

  /// First voxel at or above a world position, and last one at or below it, both kept on the axis.
  int firstFrom(float world) const;
  int lastUpTo(float world) const;

 private:
  float min_;   ///< world position of voxel 0
  float size_;  ///< of a voxel
  int last_;
};

}  // namespace voxreg::detail
