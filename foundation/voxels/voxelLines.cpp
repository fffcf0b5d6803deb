#include "foundation/voxels/voxelLines.h"

#include <cstdint>

namespace voxreg::detail {

void readVoxels(NmPrimType type, const void* block, std::int64_t first, std::int64_t n,
                float* buffer) {
  withVoxelType(type,
                [&]<class T>() { readVoxels(static_cast<const T*>(block) + first, n, buffer); });
}

void writeVoxels(NmPrimType type, void* block, std::int64_t first, std::int64_t n,
                 const float* buffer) {
  withVoxelType(type, [&]<class T>() { writeVoxels(static_cast<T*>(block) + first, n, buffer); });
}

}  // namespace voxreg::detail
