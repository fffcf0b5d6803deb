#pragma once

#include <cstdint>

#include "foundation/NmVec.h"

namespace voxreg::detail {

/// Counts and indices of a grid of bricks. Bricks and vertices are numbered with x fastest; there
/// is one vertex more than bricks along each axis. Nothing is checked.
struct BrickTopology {
  NmVec3i bricks;  ///< along each axis

  std::int64_t brickCount() const { return std::int64_t{bricks.x} * bricks.y * bricks.z; }

  std::int64_t vertexCount() const {
    return (bricks.x + std::int64_t{1}) * (bricks.y + std::int64_t{1}) *
           (bricks.z + std::int64_t{1});
  }

  std::int64_t vertexAt(int i, int j, int k) const {
    return i + (bricks.x + std::int64_t{1}) * (j + (bricks.y + std::int64_t{1}) * k);
  }

  /// (i, j, k) of a vertex.
  NmVec3i indicesOfVertex(int vertex) const {
    const int inRow = bricks.x + 1;
    const int inSlice = inRow * (bricks.y + 1);
    return {vertex % inRow, vertex % inSlice / inRow, vertex / inSlice};
  }

  /// (i, j, k) of a brick, which is that of its first vertex.
  NmVec3i indicesOfBrick(int brick) const {
    return {brick % bricks.x, brick / bricks.x % bricks.y, brick / (bricks.x * bricks.y)};
  }

  /// A brick's vertex: bit 0 of `corner`, 0 to 7, is its side along x, bit 1 along y, bit 2 along
  /// z.
  std::int64_t cornerOf(const NmVec3i& brick, int corner) const {
    return vertexAt(brick.x + (corner & 1), brick.y + (corner >> 1 & 1), brick.z + (corner >> 2));
  }
};

}  // namespace voxreg::detail
