#pragma once

#include "variational/fields/fieldKernels.h"
#include "variational/fields/voxelField.h"

namespace voxreg::detail {

/// Determinants of the derivative of x + field(x) at voxels, from differences with the neighbouring
/// voxels, forward or backward along each axis, so eight at a voxel. Central differences would miss
/// a fold that reaches over one step. On an axis of one voxel the displacement has derivative 0.
class FieldDeterminants {
 public:
  /// The field must outlive this object.
  explicit FieldDeterminants(const VoxelField& field, const FieldKernels& kernels = fieldKernels());

  /// The smallest one at each of voxels first to end - 1 of a row, as far as the next call;
  /// -infinity where the displacement is NaN.
  const float* ofRow(int first, int end, int y, int z);

  /// The smallest in voxels first to end - 1 of a row.
  float smallestOfRow(int first, int end, int y, int z);

 private:
  const VoxelField& field_;
  const FieldKernels& kernels_;
  std::vector<float> scratch_;
  std::vector<float> row_;
};

/// The smallest one of all voxels; -infinity if a displacement is NaN, infinity without voxels.
double smallestDeterminant(const VoxelField& field, const FieldKernels& kernels = fieldKernels());

}  // namespace voxreg::detail
