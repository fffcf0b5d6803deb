#pragma once

#include <vector>

#include "tests/support/volumes.h"

/// A volume of unsigned short and its voxels, which a test may change at any time.
struct ShortVolume {
  std::vector<unsigned short> voxels;
  NmHandle<VlMemoryData> volume;

  /// Fills the voxels with `value(x, y, z)`.
  template <class F>
  ShortVolume(const NmVec3l& dims, F&& value)
      : voxels(static_cast<std::size_t>(dims.x * dims.y * dims.z)) {
    volume = wrapVolume(dims, NmPrimType::UnsignedShort, 1, voxels.data());
    std::size_t i = 0;
    for (long z = 0; z < dims.z; ++z)
      for (long y = 0; y < dims.y; ++y)
        for (long x = 0; x < dims.x; ++x) voxels[i++] = static_cast<unsigned short>(value(x, y, z));
  }
};
