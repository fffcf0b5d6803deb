#pragma once

#include "foundation/NmMat4d.h"
#include "foundation/voxels/volumeFrame.h"
#include "variational/kernels/derivativeWalk.h"

namespace voxreg::detail {

/// Along an axis; 1 for one without extent.
double voxelSizeAlong(const VolumeFrame& volume, int axis);

/// Voxel coordinate of a position along one axis of a volume, both in world units. An axis without
/// extent counts as one of unit voxels.
double toVoxel(const VolumeFrame& volume, int axis, double position);

/// A map from a reference's world to a model's, row vectors, from voxels to voxels.
VoxelMatrix voxelMatrix(const NmMat4d& referenceToModel, const VolumeFrame& reference,
                        const VolumeFrame& model);

}  // namespace voxreg::detail
