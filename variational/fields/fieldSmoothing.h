#pragma once

#include "variational/fields/fieldKernels.h"
#include "variational/fields/voxelField.h"

namespace voxreg::detail {

/// A Gaussian filter along each axis of more than one voxel, in place: its standard deviation in
/// voxels, cut at three of them, rounded up, and scaled to the sum 1. Values outside are those at
/// the border: with zeros there instead, displacements fold. Unless sigma is above 0, nothing
/// changes.
void smooth(std::vector<float>& volume, const NmVec3i& dims, double sigma,
            const FieldKernels& kernels = fieldKernels());

/// The same for all components.
void smooth(VoxelField& field, double sigma, const FieldKernels& kernels = fieldKernels());

}  // namespace voxreg::detail
