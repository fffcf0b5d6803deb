#pragma once

#include <cstdint>

#include "foundation/NmPrimType.h"
#include "foundation/voxels/voxelTypes.h"

namespace voxreg::detail {

/// Converts adjacent voxels to floats and back, as in VlDataAccess::row and putRow.
template <class T>
void readVoxels(const T* voxels, std::int64_t n, float* buffer) {
  for (std::int64_t i = 0; i < n; ++i) buffer[i] = static_cast<float>(voxels[i]);
}

template <class T>
void writeVoxels(T* voxels, std::int64_t n, const float* buffer) {
  if constexpr (fitsSixteenBits<T>) {
    // Most lines hold only values within the limits, for which the rounding alone is correct.
    unsigned strays = 0;
    for (std::int64_t i = 0; i < n; ++i) {
      const int bits = roundedBits(buffer[i]);
      voxels[i] = static_cast<T>(bits);
      strays |= static_cast<unsigned>(bits) - static_cast<unsigned>(lowestBits<T>);
    }
    if (strays <= static_cast<unsigned>(highestBits<T> - lowestBits<T>)) return;
  }
  for (std::int64_t i = 0; i < n; ++i) voxels[i] = toVoxel<T>(buffer[i]);
}

/// The same for a block of voxels of a supported type, starting at the value `first`.
void readVoxels(NmPrimType type, const void* block, std::int64_t first, std::int64_t n,
                float* buffer);
void writeVoxels(NmPrimType type, void* block, std::int64_t first, std::int64_t n,
                 const float* buffer);

}  // namespace voxreg::detail
