#include "foundation/voxelLines.h"

namespace voxreg::detail {

void readVoxels(NmPrimType type, const void* block, long first, long n, float* buffer) {
  withVoxelType(type,
                [&]<class T>() { readVoxels(static_cast<const T*>(block) + first, n, buffer); });
}

void writeVoxels(NmPrimType type, void* block, long first, long n, const float* buffer) {
  withVoxelType(type, [&]<class T>() { writeVoxels(static_cast<T*>(block) + first, n, buffer); });
}

}  // namespace voxreg::detail
