#pragma once

#include <random>

#include "transforms/RegNonAffineTransform.h"

/// A grid over `box` whose vertices are displaced by up to `amount` on each axis.
inline RegNonAffineTransform jittered(const NmVec3i& bricks, double amount, const NmBox3f& box) {
  RegNonAffineTransform grid({box, {}, {}}, bricks);
  std::mt19937 random(7);
  std::uniform_real_distribution<double> move(-amount, amount);
  for (long i = 0; i < grid.params.size; ++i) grid.params[i] += move(random);
  grid.apply();
  return grid;
}

/// The point to which normalised coordinates map, or with `scaled` its position in model voxels.
inline NmVec3d evaluated(const RegNonAffineTransform& grid, const NmVec3d& at,
                         bool scaled = false) {
  NmDArray<NmVec3d> slice, row;
  slice.resize(4L * grid.numBricks.x * grid.numBricks.y);
  row.resize(2L * grid.numBricks.x);
  NmVec3d point;
  if (scaled)
    grid.setWScaled(at.z, slice);
  else
    grid.setW(at.z, slice);
  grid.setV(at.y, slice, row);
  grid.setU(at.x, row, point);
  return point;
}
