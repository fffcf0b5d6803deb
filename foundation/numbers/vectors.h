#pragma once

#include <cmath>
#include <limits>

#include "foundation/NmVec.h"

namespace voxreg::detail {

/// What an operation returns for a point that has no place: NaN.
inline NmVec3d nowhere() {
  constexpr double nan = std::numeric_limits<double>::quiet_NaN();
  return {nan, nan, nan};
}

inline NmVec3d sum(const NmVec3d& a, const NmVec3d& b) {
  return {a.x + b.x, a.y + b.y, a.z + b.z};
}

inline NmVec3d minus(const NmVec3d& a, const NmVec3d& b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}

inline double dot(const NmVec3d& a, const NmVec3d& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

inline double length(const NmVec3d& v) {
  return std::hypot(v.x, v.y, v.z);
}

inline NmVec3d cross(const NmVec3d& a, const NmVec3d& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

/// Scaled to length 1; a zero vector stays as it is.
inline NmVec3d normalized(const NmVec3d& v) {
  const double size = length(v);
  return size > 0 ? NmVec3d(v.x / size, v.y / size, v.z / size) : v;
}

}  // namespace voxreg::detail
