#pragma once

#include <cstdint>

#include "foundation/NmPrimType.h"
#include "foundation/voxels/voxelTypes.h"

namespace voxreg::detail {

/// Neighbouring voxels as floats, and back, as VlDataAccess::row and putRow convert them.
template <class T>
void readVoxels(const T* voxels, std::int64_t n, float* buffer) {
  for (std::int64_t i = 0; i < n; ++i) buffer[i] = static_cast<float>(voxels[i]);
}

template <class T>
void writeVoxels(T* voxels, std::int64_t n, const float* buffer) {
  if constexpr (fitsSixteenBits<T>) {
    // Most lines hold nothing but values within the limits, for which the rounding alone is right.
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

/// The same for a block of voxels of a served type, from the value `first` on.
void readVoxels(NmPrimType type, const void* block, std::int64_t first, std::int64_t n,
                float* buffer);
void writeVoxels(NmPrimType type, void* block, std::int64_t first, std::int64_t n,
                 const float* buffer);

}  // namespace voxreg::detail
