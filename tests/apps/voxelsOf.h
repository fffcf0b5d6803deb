#pragma once

#include <voxreg.h>

#include <vector>

/// Every voxel as a float, x fastest.
inline std::vector<float> voxelsOf(VlData& volume) {
  const NmVec3l dims = volume.dims();
  const NmHandle<VlDataAccess> access = volume.lock(false);
  std::vector<float> values(static_cast<std::size_t>(dims.x * dims.y * dims.z));
  for (long z = 0; z < dims.z; ++z)
    for (long y = 0; y < dims.y; ++y)
      (void)access->row(-1, y, z, values.data() + dims.x * (y + dims.y * z));
  return values;
}
