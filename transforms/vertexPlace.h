#pragma once

#include "foundation/NmVec.h"

namespace voxreg::detail {

/// Indices (i, j, k) of a vertex of a grid of `bricks`, i fastest.
inline NmVec3i placeOfVertex(const NmVec3i& bricks, int vertex) {
  const int inRow = bricks.x + 1;
  const int inSlice = inRow * (bricks.y + 1);
  return {vertex % inRow, vertex % inSlice / inRow, vertex / inSlice};
}

}  // namespace voxreg::detail
