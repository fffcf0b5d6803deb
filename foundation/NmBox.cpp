#include "foundation/NmBox.h"

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
