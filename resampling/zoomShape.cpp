#include "resampling/zoomShape.h"

#include <cmath>
#include <cstdint>

#include "foundation/VlData.h"

namespace voxreg::detail {
namespace {

bool isDimension(std::int64_t n) {
  return n >= 1 && n <= largestDimension;
}

}  // namespace

bool areLengths(const float* lengths) {
  for (int axis = 0; axis < 3; ++axis)
    if (!(lengths[axis] > 0.0f && static_cast<double>(lengths[axis]) <= largestDimension))
      return false;
  return true;
}

NmVec3l dimsOfLengths(const float* lengths) {
  return {static_cast<std::int64_t>(std::ceil(lengths[0])),
          static_cast<std::int64_t>(std::ceil(lengths[1])),
          static_cast<std::int64_t>(std::ceil(lengths[2]))};
}

ZoomShape::ZoomShape(const VlData& source, const VlData& target, const float* lengths)
    : from(source.dims()), to(target.dims()), length(lengths[0], lengths[1], lengths[2]) {}

bool ZoomShape::isConsistent() const {
  const float lengths[3] = {length.x, length.y, length.z};
  if (!areLengths(lengths) || dimsOfLengths(lengths) != to) return false;
  for (int axis = 0; axis < 3; ++axis) {
    if (!isDimension(from[axis])) return false;
    // Above 2^24 single precision cannot tell adjacent dimensions apart.
    if (isUnchanged(axis) && from[axis] != to[axis]) return false;
  }
  return true;
}

bool ZoomShape::isKept(int axis) const {
  return std::fabs(static_cast<double>(fromLength(axis) - length[axis])) < 1e-10;
}

int ZoomShape::wholeFactor(int axis) const {
  const float ratio = fromLength(axis) / length[axis];
  if (!(static_cast<double>(ratio) <= largestDimension)) return 0;
  const int factor = static_cast<int>(ratio);
  if (factor < 1 || static_cast<float>(factor) * length[axis] != fromLength(axis)) return 0;
  return (from[axis] - 1) / factor + 1 == to[axis] ? factor : 0;
}

}  // namespace voxreg::detail
