#include "variational/fields/fieldDeterminants.h"

#include <algorithm>
#include <limits>

namespace voxreg::detail {

FieldDeterminants::FieldDeterminants(const VoxelField& field, const FieldKernels& kernels)
    : field_(field),
      kernels_(kernels),
      scratch_(3 * static_cast<std::size_t>(field.dims.x + 1 + linePadding)),
      row_(static_cast<std::size_t>(field.dims.x)) {}

const float* FieldDeterminants::ofRow(int first, int end, int y, int z) {
  kernels_.determinants({field_.along[0].data(), field_.along[1].data(), field_.along[2].data()},
                        field_.dims, first, end, y, z, scratch_.data(), row_.data());
  return row_.data();
}

float FieldDeterminants::smallestOfRow(int first, int end, int y, int z) {
  return kernels_.lowest(ofRow(first, end, y, z), end - first);
}

double smallestDeterminant(const VoxelField& field, const FieldKernels& kernels) {
  FieldDeterminants determinants(field, kernels);
  float smallest = std::numeric_limits<float>::infinity();
  for (int z = 0; z < field.dims.z; ++z)
    for (int y = 0; y < field.dims.y; ++y)
      smallest = std::min(smallest, determinants.smallestOfRow(0, field.dims.x, y, z));
  return static_cast<double>(smallest);
}

}  // namespace voxreg::detail
