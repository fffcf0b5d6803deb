#pragma once

#include "variational/fields/fieldKernels.h"
#include "variational/fields/voxelField.h"

namespace voxreg::detail {

/// Trilinear values of a volume on the field's grid at x + field(x). Positions are clamped to the
/// grid; a NaN in a displacement counts as a coordinate of 0.
void warp(const std::vector<float>& volume, const VoxelField& field, std::vector<float>& warped,
          const FieldKernels& kernels = fieldKernels());

}  // namespace voxreg::detail
