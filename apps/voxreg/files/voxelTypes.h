#pragma once

#include <voxreg.h>

#include <cmath>
#include <limits>
#include <type_traits>

#include "terminal/HostError.h"

namespace host {

/// Calls `f.template operator()<T>()` with the type of a volume's voxels.
template <class F>
void withVoxelType(NmPrimType type, F&& f) {
  switch (static_cast<int>(type)) {
    case NmPrimType::UnsignedChar:
      return f.template operator()<unsigned char>();
    case NmPrimType::Short:
      return f.template operator()<short>();
    case NmPrimType::UnsignedShort:
      return f.template operator()<unsigned short>();
    case NmPrimType::Int:
      return f.template operator()<int>();
    case NmPrimType::Float:
      return f.template operator()<float>();
    case NmPrimType::Double:
      return f.template operator()<double>();
    default:
      throw HostError("there are no voxels of this type", HostError::failedRun);
  }
}

/// The nearest value that a voxel can hold; NaN is never converted to an integer.
template <class T>
T asVoxel(double value) {
  if constexpr (std::is_floating_point_v<T>) {
    return static_cast<T>(value);
  } else {
    constexpr T lowest = std::numeric_limits<T>::lowest();
    constexpr T highest = std::numeric_limits<T>::max();
    const double whole = std::nearbyint(value);
    if (!(whole > static_cast<double>(lowest))) return lowest;
    return whole < static_cast<double>(highest) ? static_cast<T>(whole) : highest;
  }
}

}  // namespace host
