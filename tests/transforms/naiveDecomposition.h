#pragma once

#include <cmath>

#include "foundation/NmVec.h"

/// Stretches and shears of a 3 x 3 matrix from lengths, areas and the volume of its rows.
namespace naive {

inline NmVec3d cross(const NmVec3d& a, const NmVec3d& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

inline double dot(const NmVec3d& a, const NmVec3d& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

struct Split {
  double volume;
  NmVec3d scale;
  NmVec3d shear;
};

inline Split split(const double (&f)[3][3]) {
  const NmVec3d r0(f[0][0], f[0][1], f[0][2]);
  const NmVec3d r1(f[1][0], f[1][1], f[1][2]);
  const NmVec3d r2(f[2][0], f[2][1], f[2][2]);
  const NmVec3d normal = cross(r1, r2);
  const double length = std::sqrt(dot(r2, r2));
  const double area = std::sqrt(dot(normal, normal));
  const double volume = dot(r0, normal);
  // r2 x normal is the part of row 1 across row 2, times length^2: its own length is length * area.
  const double alongRow1 = dot(r0, cross(r2, normal)) / (area * area);
  return {
      volume,
      {std::fabs(volume) / area, area / length, length},
      {dot(r1, r2) / (length * length) / 2, dot(r0, r2) / (length * length) / 2, alongRow1 / 2}};
}

}  // namespace naive
