#pragma once

#include "variational/fields/fieldKernels.h"
#include "variational/fields/voxelField.h"

namespace voxreg::detail {

struct FieldInverse {
  VoxelField field;
  std::vector<float> error;  ///< |v(y) + u(y + v(y))| at each voxel, voxels
  double meanError = 0.0;
  double largestError = 0.0;
};

/// The field v with v(y) = -u(y + v(y)), where u is `field`, trilinear and continued by the values
/// at its border, to an error of at most a thousandth of a voxel where that is found. Where it is
/// not (a fold), v is the best of what was tried. A voxel for which nothing is a number gets
/// displacement 0 and an infinite error.
FieldInverse inverse(const VoxelField& field, const FieldKernels& kernels = fieldKernels());

}  // namespace voxreg::detail
