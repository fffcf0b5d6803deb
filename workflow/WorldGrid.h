#pragma once

#include "foundation/NmMat4d.h"
#include "foundation/NmVec.h"

namespace voxreg {

/// Where the voxels of a grid lie: voxel (i, j, k) has its centre at
/// origin + i * axis[0] + j * axis[1] + k * axis[2], in world millimetres. The axes may be oblique,
/// sheared and mirrored.
struct WorldGrid {
  NmVec3l dims{1, 1, 1};  ///< voxels along each axis
  NmVec3d axis[3];
  NmVec3d origin;

  WorldGrid() = default;

  /// By a matrix for row vectors, as everywhere in this library: (i, j, k, 1) * matrix is the place
  /// of voxel (i, j, k), so that the axes stand in the first three rows and the origin in the
  /// fourth. NIfTI headers and many array libraries write matrices for column vectors; those come
  /// in by NmMat4d::transpose. An axis of one voxel, which a header may leave without direction,
  /// gets that of the normal, a millimetre long.
  WorldGrid(const NmVec3l& voxels, const NmMat4d& voxelToWorld);

  /// The same matrix.
  NmMat4d voxelToWorld() const;
};

}  // namespace voxreg
