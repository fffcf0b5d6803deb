#pragma once

#include <limits>
#include <type_traits>

#include "foundation/NmPrimType.h"

namespace voxreg::detail {

/// Calls `f.template operator()<T>()` with the voxel type that `type` names. False, and no call,
/// for a type that no volume holds.
template <class F>
bool withVoxelType(NmPrimType type, F&& f) {
  switch (static_cast<int>(type)) {
    case NmPrimType::UnsignedChar:
      f.template operator()<unsigned char>();
      return true;
    case NmPrimType::Short:
      f.template operator()<short>();
      return true;
    case NmPrimType::Int:
      f.template operator()<int>();
      return true;
    case NmPrimType::Float:
      f.template operator()<float>();
      return true;
    case NmPrimType::Double:
      f.template operator()<double>();
      return true;
    case NmPrimType::UnsignedShort:
      f.template operator()<unsigned short>();
      return true;
    default:
      return false;
  }
}

inline bool isServedVoxelType(NmPrimType type) {
  return withVoxelType(type, []<class T>() {});
}

/// A value as a voxel: integers take the nearest, ties to even, saturate at their limits, and turn
/// NaN into 0; floating-point types take it as it is.
template <class T>
inline T toVoxel(double value) {
  if constexpr (std::is_floating_point_v<T>) {
    return static_cast<T>(value);
  } else {
    constexpr double lowest = static_cast<double>(std::numeric_limits<T>::lowest());
    constexpr double highest = static_cast<double>(std::numeric_limits<T>::max());
    // Adding 1.5 * 2^52 leaves no bits below the unit, so the processor rounds to nearest even.
    constexpr double unit = 6755399441055744.0;
    double limited = value == value ? value : 0.0;
    limited = limited > lowest ? limited : lowest;
    limited = limited < highest ? limited : highest;
    return static_cast<T>(static_cast<int>((limited + unit) - unit));
  }
}

}  // namespace voxreg::detail
