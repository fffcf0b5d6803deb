#pragma once

#include "variational/fields/fieldKernels.h"
#include "variational/fields/voxelField.h"

namespace voxreg::detail {

struct RepairSummary {
  int rounds = 0;
  double smallestDeterminant = 0.0;  ///< afterwards, as by the function of this name
  bool suffices = false;             ///< whether it is at least the one asked for
};

/// Filters the displacements within two voxels of those whose smallest one-sided determinant is
/// below `least` by (1, 2, 1) / 4 along each axis, with values outside as at the border, until none
/// is below, at most `mostRounds` times. Only what is near such voxels is looked at after the
/// first round. Displacements that are NaN stay, and do not suffice.
RepairSummary repair(VoxelField& field, double least, int mostRounds,
                     const FieldKernels& kernels = fieldKernels());

}  // namespace voxreg::detail
