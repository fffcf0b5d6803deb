#include "foundation/NmBox.h"

#include <algorithm>

namespace {

bool isEmpty(const NmBox3f& box) {
  return box.xmin > box.xmax || box.ymin > box.ymax || box.zmin > box.zmax;
}

}  // namespace

float NmBox3f::extent(int axis) const {
  return max(axis) - min(axis);
}

float NmBox3f::volume() const {
  for (int axis = 0; axis < 3; ++axis)
    if (!(min(axis) <= max(axis))) return -1.0f;
  return extent(0) * extent(1) * extent(2);
}

NmVec3f NmBox3f::getVoxelSize(const NmVec3f& dims) const {
  NmVec3f size;
  for (int axis = 0; axis < 3; ++axis)
    size[axis] = extent(axis) / (dims[axis] > 1.0f ? dims[axis] - 1.0f : 1.0f);
  return size;
}

bool operator==(const NmBox3f& a, const NmBox3f& b) {
  if (isEmpty(a) || isEmpty(b)) return isEmpty(a) && isEmpty(b);
  return a.xmin == b.xmin && a.xmax == b.xmax && a.ymin == b.ymin && a.ymax == b.ymax &&
         a.zmin == b.zmin && a.zmax == b.zmax;
}

NmBox3i NmBox3i::intersection(const NmBox3i& other) const {
  return {std::max(xmin, other.xmin), std::min(xmax, other.xmax), std::max(ymin, other.ymin),
          std::min(ymax, other.ymax), std::max(zmin, other.zmin), std::min(zmax, other.zmax)};
}
