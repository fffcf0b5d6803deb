#pragma once

#include <vector>

#include "foundation/NmVec.h"

namespace voxreg::detail {

/// Bricks along one axis of a volume, and the search for them.
struct ElasticGrid {
  int bricks;
  NmVec2f steps;  ///< largest and smallest of the search
};

/// The most bricks along an axis, no more than `most`, of which each keeps some voxels; 0 for a
/// volume of too few voxels for one. The grid is that of RegElasticRegistration::getNumBricks.
int mostBricks(const NmVec3i& dims, const NmVec3f& voxelSize, int axis, int most);

/// The grids for a pair that has no coarser levels, the coarsest first, up to `most` bricks.
std::vector<ElasticGrid> elasticGrids(int most);

}  // namespace voxreg::detail
