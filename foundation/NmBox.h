#pragma once

#include "foundation/NmVec.h"

/// Box in world units. The default is the empty box: every minimum 0, every maximum -1.0e10.
class NmBox3f {
 public:
  float xmin = 0.0f, xmax = -1.0e10f;
  float ymin = 0.0f, ymax = -1.0e10f;
  float zmin = 0.0f, zmax = -1.0e10f;

  NmBox3f() = default;
  NmBox3f(float x0, float x1, float y0, float y1, float z0, float z1)
      : xmin(x0), xmax(x1), ymin(y0), ymax(y1), zmin(z0), zmax(z1) {}

  float min(int axis) const { return axis == 0 ? xmin : axis == 1 ? ymin : zmin; }
  float max(int axis) const { return axis == 0 ? xmax : axis == 1 ? ymax : zmax; }

  /// max - min on one axis, in single precision.
  float extent(int axis) const;

  /// Product of the extents, or -1 if a minimum is above its maximum or not a number.
  float volume() const;

  /// Extent per axis divided by (dims - 1), or by 1 on an axis of one voxel or less.
  NmVec3f getVoxelSize(const NmVec3f& dims) const;
};

/// True if all six values are equal, or if both boxes are empty: a minimum above its maximum on
/// some axis, whatever the other values are. No tolerance.
bool operator==(const NmBox3f& a, const NmBox3f& b);

/// Box of voxels, both ends inclusive. The default holds no voxel.
class NmBox3i {
 public:
  int xmin = 0, xmax = -1;
  int ymin = 0, ymax = -1;
  int zmin = 0, zmax = -1;

  NmBox3i() = default;
  NmBox3i(int x0, int x1, int y0, int y1, int z0, int z1)
      : xmin(x0), xmax(x1), ymin(y0), ymax(y1), zmin(z0), zmax(z1) {}

  int min(int axis) const { return axis == 0 ? xmin : axis == 1 ? ymin : zmin; }
  int max(int axis) const { return axis == 0 ? xmax : axis == 1 ? ymax : zmax; }

  /// True if a minimum is above its maximum.
  bool isEmpty() const { return xmax < xmin || ymax < ymin || zmax < zmin; }

  /// The voxels common to both boxes; empty if there are none.
  NmBox3i intersection(const NmBox3i& other) const;

  bool operator==(const NmBox3i&) const = default;
};
