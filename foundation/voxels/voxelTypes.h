#pragma once

#include <bit>
#include <limits>
#include <type_traits>

#include "foundation/NmPrimType.h"

namespace voxreg::detail {

/// Calls `f.template operator()<T>()` with the voxel type that `type` denotes. Returns false,
/// without a call, for a type that no volume holds.
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

/// The nearest integer, ties to even, of a value within the limits of int.
inline int roundToInt(double value) {
  // Adding 1.5 * 2^52 leaves no bits below 1, so the processor rounds to nearest even.
  constexpr double unit = 6755399441055744.0;
  return static_cast<int>((value + unit) - unit);
}

/// Converts a value to a voxel: integers take the nearest, ties to even, saturate at their limits,
/// and turn NaN into 0; floating-point types take it unchanged.
template <class T>
inline T toVoxel(double value) {
  if constexpr (std::is_floating_point_v<T>) {
    return static_cast<T>(value);
  } else {
    constexpr double lowest = static_cast<double>(std::numeric_limits<T>::lowest());
    constexpr double highest = static_cast<double>(std::numeric_limits<T>::max());
    double limited = value == value ? value : 0.0;
    limited = limited > lowest ? limited : lowest;
    limited = limited < highest ? limited : highest;
    return static_cast<T>(roundToInt(limited));
  }
}

/// True for integers of 8 or 16 bits, which single precision holds exactly.
template <class T>
inline constexpr bool fitsSixteenBits = std::is_integral_v<T> && sizeof(T) <= 2;

// Adding 1.5 * 2^23 rounds a float to an integer, ties to even, and leaves the result in the low
// bits of the sum's representation. As integers such representations are ordered like the floats,
// and compilers vectorise comparisons of integers.
inline constexpr int zeroBits = 0x4B400000;
template <class T>
inline constexpr int lowestBits = zeroBits + std::numeric_limits<T>::lowest();
template <class T>
inline constexpr int highestBits = zeroBits + std::numeric_limits<T>::max();

inline int roundedBits(float value) {
  return std::bit_cast<int>(value + 12582912.0f);
}

/// The same for a value in single precision.
template <class T>
inline T toVoxel(float value) {
  if constexpr (!fitsSixteenBits<T>) {
    return toVoxel<T>(static_cast<double>(value));
  } else {
    constexpr int infinity = 0x7F800000;
    int bits = roundedBits(value);
    bits = (bits & 0x7FFFFFFF) > infinity ? zeroBits : bits;
    bits = bits > lowestBits<T> ? bits : lowestBits<T>;
    bits = bits < highestBits<T> ? bits : highestBits<T>;
    return static_cast<T>(bits);
  }
}

}  // namespace voxreg::detail
