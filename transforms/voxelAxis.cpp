#include "transforms/voxelAxis.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace voxreg::detail {

VoxelAxis::VoxelAxis(const NmBox3f& box, const NmVec3l& dims, int axis)
    : min_(box.min(axis)),
      last_(static_cast<int>(
                std::clamp<std::int64_t>(dims[axis], 0, std::numeric_limits<int>::max())) -
            1) {
  size_ = box.extent(axis) / (last_ < 1 ? 1.0f : static_cast<float>(last_));
  if (size_ == 0.0f) size_ = 1.0f;
}

int VoxelAxis::firstFrom(float world) const {
  const float position = (world - min_) / size_;
  if (!(position > 0.0f)) return 0;
  return position >= static_cast<float>(last_) ? std::max(last_, 0)
                                               : static_cast<int>(std::ceil(position));
}

int VoxelAxis::lastUpTo(float world) const {
  const float position = (world - min_) / size_;
  if (last_ < 0 || !(position < static_cast<float>(last_))) return last_;
  return position > 0.0f ? static_cast<int>(std::floor(position)) : 0;
}

}  // namespace voxreg::detail
