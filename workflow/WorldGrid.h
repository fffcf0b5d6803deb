#pragma once

#include "foundation/NmMat4d.h"
#include "foundation/NmVec.h"

namespace voxreg {

/// Positions of the voxels of a grid: the centre of voxel (i, j, k) is origin + i * axis[0] + j *
/// axis[1] + k * axis[2], in world millimetres. The axes may be oblique, sheared and reflected.
struct WorldGrid {
  NmVec3l dims{1, 1, 1};  ///< voxels along each axis
  NmVec3d axis[3];
  NmVec3d origin;

  WorldGrid() = default;

  /// From a matrix for row vectors, as everywhere in this library: (i, j, k, 1) * matrix is the
  /// position of voxel (i, j, k), so the axes are in the first three rows and the origin is in the
  /// fourth. NIfTI headers and many array libraries use matrices for column vectors; convert those
  /// with NmMat4d::transpose. An axis of one voxel, for which a header may give no direction, gets
  /// that of the normal, one millimetre long.
  WorldGrid(const NmVec3l& voxels, const NmMat4d& voxelToWorld);

  /// The same matrix.
  NmMat4d voxelToWorld() const;
};

}  // namespace voxreg
