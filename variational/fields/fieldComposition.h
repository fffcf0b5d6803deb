#pragma once

#include "variational/fields/fieldKernels.h"
#include "variational/fields/voxelField.h"

namespace voxreg::detail {

/// Makes `field` the displacement of both steps, update(x) + field(x + update(x)), trilinear and
/// clamped to the grid; a NaN in the update counts as a coordinate of 0. The memory needed grows
/// with the update's reach along -z, and is another field's at most.
void compose(const VoxelField& update, VoxelField& field,
             const FieldKernels& kernels = fieldKernels());

}  // namespace voxreg::detail
