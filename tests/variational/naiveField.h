#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <random>
#include <utility>
#include <vector>

#include "variational/fields/voxelField.h"

/// Operations on fields in double precision, each voxel for itself.
namespace naiveField {

using voxreg::detail::VoxelField;

inline std::size_t indexOf(const NmVec3i& dims, int x, int y, int z) {
  return static_cast<std::size_t>(x + dims.x * (y + dims.y * z));
}

template <class Visit>
void forEachVoxel(const NmVec3i& dims, Visit visit) {
  for (int z = 0; z < dims.z; ++z)
    for (int y = 0; y < dims.y; ++y)
      for (int x = 0; x < dims.x; ++x) visit(x, y, z, indexOf(dims, x, y, z));
}

inline std::vector<float> randomVolume(const NmVec3i& dims, float amount, unsigned seed) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<float> value(-amount, amount);
  std::vector<float> volume(indexOf(dims, 0, 0, dims.z));
  for (float& v : volume) v = value(random);
  return volume;
}

inline VoxelField randomField(const NmVec3i& dims, float amount, unsigned seed) {
  return {dims,
          {randomVolume(dims, amount, seed), randomVolume(dims, amount, seed + 1),
           randomVolume(dims, amount, seed + 2)}};
}

inline NmVec3d displacementOf(const VoxelField& field, std::size_t i) {
  return {static_cast<double>(field.along[0][i]), static_cast<double>(field.along[1][i]),
          static_cast<double>(field.along[2][i])};
}

/// Trilinear, with the position clamped to the grid.
inline double valueAt(const std::vector<float>& volume, const NmVec3i& dims,
                      const NmVec3d& position) {
  double sum = 0.0;
  for (int corner = 0; corner < 8; ++corner) {
    double weight = 1.0;
    int index[3];
    for (int a = 0; a < 3; ++a) {
      const double p = std::clamp(position[a], 0.0, dims[a] - 1.0);
      const bool isUpper = (corner >> a & 1) != 0;
      weight *= isUpper ? p - std::floor(p) : 1.0 - (p - std::floor(p));
      index[a] = std::min(static_cast<int>(p) + (isUpper ? 1 : 0), dims[a] - 1);
    }
    sum += weight * static_cast<double>(volume[indexOf(dims, index[0], index[1], index[2])]);
  }
  return sum;
}

inline NmVec3d displacementAt(const VoxelField& field, const NmVec3d& position) {
  return {valueAt(field.along[0], field.dims, position),
          valueAt(field.along[1], field.dims, position),
          valueAt(field.along[2], field.dims, position)};
}

/// Of the derivative from differences with the neighbour on one side along each axis; on an axis of
/// one voxel there is none. False outside.
inline bool determinantAt(const VoxelField& field, const std::array<int, 3>& at, int sides,
                          double& determinant) {
  double m[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
  const NmVec3d here = displacementOf(field, indexOf(field.dims, at[0], at[1], at[2]));
  for (int a = 0; a < 3; ++a) {
    const int side = (sides >> a & 1) != 0 ? 1 : -1;
    if (field.dims[a] == 1) continue;
    std::array<int, 3> next = at;
    next[static_cast<std::size_t>(a)] += side;
    if (next[static_cast<std::size_t>(a)] < 0 || next[static_cast<std::size_t>(a)] >= field.dims[a])
      return false;
    const NmVec3d there = displacementOf(field, indexOf(field.dims, next[0], next[1], next[2]));
    for (int c = 0; c < 3; ++c) m[a][c] += side * (there[c] - here[c]);
  }
  determinant = 0.0;
  for (int i = 0; i < 3; ++i)
    determinant +=
        m[0][i] * (m[1][(i + 1) % 3] * m[2][(i + 2) % 3] - m[1][(i + 2) % 3] * m[2][(i + 1) % 3]);
  return true;
}

inline double smallestDeterminant(const VoxelField& field) {
  double smallest = 1.0e9;
  forEachVoxel(field.dims, [&](int x, int y, int z, std::size_t) {
    for (int sides = 0; sides < 8; ++sides) {
      double determinant = 0.0;
      if (determinantAt(field, {x, y, z}, sides, determinant))
        smallest = std::min(smallest, determinant);
    }
  });
  return smallest;
}

}  // namespace naiveField
