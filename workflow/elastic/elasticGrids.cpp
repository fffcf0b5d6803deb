#include "workflow/elastic/elasticGrids.h"

#include <algorithm>

#include "elastic/RegElasticRegistration.h"

namespace voxreg::detail {

namespace {

/// Along each axis, on average. The library's own levels leave at least as many voxels per brick,
/// and finer grids cost time and gain nothing (empirical: two heads of 32 x 38 x 32 voxels register
/// to 1.09 mm with 8 bricks, 4.1 voxels long, and to 1.11 mm with 12, 2.7 voxels long).
constexpr double leastLength = 4.0;

/// Of a transform, along each axis.
constexpr int largestCount = 32;

/// Voxels that the bricks of a grid need.
double voxelsFor(const NmVec3i& grid) {
  double voxels = 1.0;
  for (int a = 0; a < 3; ++a) voxels *= leastLength * std::min(grid[a], largestCount);
  return voxels;
}

}  // namespace

int mostBricks(const NmVec3i& dims, const NmVec3f& voxelSize, int axis, int most) {
  const double voxels = static_cast<double>(dims.x) * dims.y * dims.z;
  const RegElasticRegistration elastic;
  const auto fits = [&](int bricks) {
    return voxels >= voxelsFor(elastic.getNumBricks(bricks, axis, dims, voxelSize));
  };
  int bricks = most;
  while (bricks > 0 && !fits(bricks)) --bricks;
  return bricks;
}

// Counts and steps are those of the library's coarser levels; each grid prepares the next. If eight
// bricks are too many, the long steps of the first grid mislead the search (empirical: chests of 24
// x 24 x 8 voxels register to 3.85 mm with them, and to 3.37 mm with the short ones).
std::vector<ElasticGrid> elasticGrids(int most) {
  constexpr int enough = 8;
  const NmVec2f coarse(10.0f, 3.0f);
  const NmVec2f even(3.0f, 3.0f);
  const NmVec2f fine(5.0f, 1.0f);
  std::vector<ElasticGrid> grids;
  for (const ElasticGrid& grid : {ElasticGrid{4, most < enough ? fine : coarse},
                                  ElasticGrid{enough, most < enough ? fine : even},
                                  ElasticGrid{12, fine}, ElasticGrid{most, fine}}) {
    const int bricks = std::min(grid.bricks, most);
    if (grids.empty() || bricks > grids.back().bricks) grids.push_back({bricks, grid.steps});
  }
  return grids;
}

}  // namespace voxreg::detail
