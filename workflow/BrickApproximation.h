#pragma once

#include <limits>

#include "foundation/NmVec.h"
#include "workflow/BrickGrid.h"
#include "workflow/LatticeMap.h"

namespace voxreg {

/// A grid of bricks in place of a lattice, and the distance between the two maps: at 27 points of
/// each brick, evenly spread, in millimetres of the model's world. NaN without a grid.
struct BrickApproximation {
  BrickGrid bricks;
  double meanError = std::numeric_limits<double>::quiet_NaN();
  double largestError = std::numeric_limits<double>::quiet_NaN();
};

/// The vertices are where the map sends them. On an axis with 0 `bricks` there are three to an
/// interval of the lattice, or two or as many as possible if that exceeds 32; larger numbers are
/// clamped to 1 to 32. Outside the box the grid applies the displacement of the nearest point of
/// the box, which differs from the lattice's map unless its matrix is a translation. The grid is
/// not valid if the map is not, or if a float cannot express its box.
BrickApproximation approximateByBricks(const LatticeMap& map, const NmVec3i& bricks = {});

}  // namespace voxreg
