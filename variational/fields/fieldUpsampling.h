#pragma once

#include "foundation/voxels/volumeFrame.h"
#include "variational/fields/voxelField.h"

namespace voxreg::detail {

/// A field on the voxels of `from`, at those of `to` in the same space, finer or coarser: trilinear
/// between voxels, the border's value outside, and in voxels of `to`.
VoxelField upsampled(const VoxelField& field, const VolumeFrame& from, const VolumeFrame& to);

}  // namespace voxreg::detail
