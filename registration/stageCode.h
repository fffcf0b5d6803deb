#pragma once

#include "foundation/NmVec.h"

namespace voxreg::detail {

/// Two digits an axis.
inline constexpr int largestCodedCount = 99;

/// An entry of a schedule below 13 is a number of degrees of freedom of an affine transform, any
/// other a grid of bricks, x*10000 + y*100 + z.
inline bool isGridCode(int code) {
  return code >= 13;
}

inline NmVec3i gridOfCode(int code) {
  return {code / 10000, code / 100 % 100, code % 100};
}

inline int codeOfGrid(const NmVec3i& grid) {
  return grid.x * 10000 + grid.y * 100 + grid.z;
}

/// Coordinates of all vertices of a grid.
inline int freedomsOfGrid(const NmVec3i& grid) {
  return (grid.z + 1) * (3 * grid.x + 3) * (grid.y + 1);
}

}  // namespace voxreg::detail
