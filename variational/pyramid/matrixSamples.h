#pragma once

#include "foundation/NmMat4d.h"
#include "variational/pyramid/levelVolume.h"

namespace voxreg::detail {

/// Trilinear values of a model at the voxels of a reference, mapped by a matrix from frame to frame
/// (row vectors). Half a voxel beyond the model its border's values hold; further away voxels do
/// not count, nor do those next to voxels that do not.
LevelVolume sampledThrough(const NmMat4d& referenceToModel, const LevelVolume& model,
                           const VolumeFrame& reference);

}  // namespace voxreg::detail
