#include "variational/fields/fieldWarp.h"

namespace voxreg::detail {

void warp(const std::vector<float>& volume, const VoxelField& field, std::vector<float>& warped,
          const FieldKernels& kernels) {
  warped.resize(volume.size());
  const float* const displacement[3] = {field.along[0].data(), field.along[1].data(),
                                        field.along[2].data()};
  const std::int64_t slice = std::int64_t{field.dims.x} * field.dims.y;
  for (int z = 0; z < field.dims.z; ++z)
    kernels.warpSlice(volume.data(), displacement, field.dims, z, warped.data() + slice * z);
}

}  // namespace voxreg::detail
