#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <tuple>
#include <type_traits>

/// The number of a voxel type: 0 to 2 the integers by size, 3 and 4 the floating-point ones.
template <class T>
constexpr int voxelTypeNumber = std::is_same_v<T, unsigned short> ? 7
                                : std::is_integral_v<T>           ? static_cast<int>(sizeof(T)) / 2
                                                        : static_cast<int>(sizeof(T)) / 4 + 2;

using VoxelTypes = std::tuple<unsigned char, short, unsigned short, int, float, double>;

/// The same for a typed suite of tests.
template <class... T>
testing::Types<T...> typesOf(std::tuple<T...>);
using TypedSuiteOfVoxels = decltype(typesOf(VoxelTypes()));

/// Calls f.operator()<T>() for each voxel type.
template <class F>
void forEachVoxelType(F f) {
  std::apply([&](auto... voxel) { (f.template operator()<decltype(voxel)>(), ...); }, VoxelTypes());
}

/// What a value becomes in a voxel: ties go to even, integers saturate, and NaN is their 0.
template <class T>
T naiveVoxel(float value) {
  if (std::is_floating_point_v<T>) return static_cast<T>(value);
  if (std::isnan(value)) return 0;
  const double low = static_cast<double>(std::numeric_limits<T>::lowest());
  const double high = static_cast<double>(std::numeric_limits<T>::max());
  return static_cast<T>(std::clamp(std::nearbyint(static_cast<double>(value)), low, high));
}
