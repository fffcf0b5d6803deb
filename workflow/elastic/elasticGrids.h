#pragma once

#include <vector>

#include "foundation/NmVec.h"

namespace voxreg::detail {

/// Bricks along one axis of a volume, and the search for them.
struct ElasticGrid {
  int bricks;
  NmVec2f steps;  ///< largest and smallest of the search
};

/// The largest number of bricks along an axis, at most `most`, that leaves each enough voxels; 0
/// for a volume with too few voxels for one brick. The grid is that of
/// RegElasticRegistration::getNumBricks.
int mostBricks(const NmVec3i& dims, const NmVec3f& voxelSize, int axis, int most);

/// The grids for a pair without coarser levels, coarsest first, up to `most` bricks.
std::vector<ElasticGrid> elasticGrids(int most);

}  // namespace voxreg::detail
