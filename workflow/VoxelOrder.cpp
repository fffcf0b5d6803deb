#include "workflow/VoxelOrder.h"

#include <algorithm>
#include <cmath>

#include "foundation/numbers/vectors.h"

namespace voxreg {

namespace {

/// Component of the grid's axis along a world axis, as a cosine.
double cosine(const WorldGrid& grid, int gridAxis, int worldAxis) {
  return detail::normalized(grid.axis[gridAxis])[worldAxis];
}

}  // namespace

VoxelOrder VoxelOrder::nearestToWorld(const WorldGrid& grid) {
  VoxelOrder best;
  double bestSum = -1.0;
  int trial[3] = {0, 1, 2};
  do {
    double sum = 0.0;
    for (int a = 0; a < 3; ++a) sum += std::abs(cosine(grid, trial[a], a));
    if (sum > bestSum) {
      bestSum = sum;
      std::copy(trial, trial + 3, best.gridAxis);
    }
  } while (std::next_permutation(trial, trial + 3));
  for (int a = 0; a < 3; ++a) best.flipped[a] = cosine(grid, best.gridAxis[a], a) < 0;
  return best;
}

bool VoxelOrder::changesAnything() const {
  for (int a = 0; a < 3; ++a)
    if (gridAxis[a] != a || flipped[a]) return true;
  return false;
}

WorldGrid VoxelOrder::applied(const WorldGrid& grid) const {
  WorldGrid reordered = grid;
  for (int a = 0; a < 3; ++a) {
    const int axis = gridAxis[a];
    const double sign = flipped[a] ? -1.0 : 1.0;
    reordered.dims[a] = grid.dims[axis];
    for (int w = 0; w < 3; ++w) {
      reordered.axis[a][w] = sign * grid.axis[axis][w];
      if (flipped[a])
        reordered.origin[w] += static_cast<double>(grid.dims[axis] - 1) * grid.axis[axis][w];
    }
  }
  return reordered;
}

MemoryLine memoryLine(const WorldGrid& grid, const VoxelOrder& order, std::int64_t j,
                      std::int64_t k) {
  const std::int64_t position[3] = {0, j, k};
  MemoryLine line = {0, 0};
  std::int64_t stride = 1;
  for (int a = 0; a < 3; ++a) {
    const int axis = order.gridAxis[a];
    const std::int64_t p = order.flipped[a] ? grid.dims[axis] - 1 - position[axis] : position[axis];
    line.start += p * stride;
    if (axis == 0) line.stride = order.flipped[a] ? -stride : stride;
    stride *= grid.dims[axis];
  }
  return line;
}

}  // namespace voxreg
