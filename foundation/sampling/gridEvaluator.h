#pragma once

#include "foundation/NmBox.h"
#include "foundation/NmHandle.h"
#include "foundation/VlDataAccess.h"
#include "foundation/VlEvaluator.h"
#include "foundation/sampling/axisTaps.h"
#include "foundation/voxels/voxelGrid.h"

namespace voxreg::detail {

/// A sampler of the voxels of `access`, which it keeps, weighted along each axis by `rule`. Null if
/// the voxels are not in one block of a supported type.
NmHandle<VlEvaluator> makeGridEvaluator(const NmHandle<VlDataAccess>& access, const VoxelGrid& grid,
                                        const NmBox3f& box, TapRule rule);

}  // namespace voxreg::detail
