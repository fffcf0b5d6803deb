#include "workflow/BrickApproximation.h"

#include <algorithm>

#include "foundation/numbers/distances.h"
#include "workflow/sampling/boxRows.h"
#include "workflow/sampling/latticePoints.h"

namespace voxreg {

namespace {

constexpr int mostBricks = 32;

int brickCount(int asked, int intervals) {
  if (asked > 0) return std::min(asked, mostBricks);
  for (const int each : {3, 2})
    if (each * intervals <= mostBricks) return each * intervals;
  return mostBricks;
}

NmBox3f boxOf(const ControlLattice& lattice) {
  float low[3];
  float high[3];
  for (int a = 0; a < 3; ++a) {
    low[a] = static_cast<float>(lattice.origin[a]);
    high[a] = static_cast<float>(lattice.origin[a] + lattice.spacing[a] * lattice.intervals[a]);
  }
  return {low[0], high[0], low[1], high[1], low[2], high[2]};
}

}  // namespace

BrickApproximation approximateByBricks(const LatticeMap& map, const NmVec3i& bricks) {
  BrickApproximation result;
  if (!map.isValid()) return result;
  BrickGrid::Grid& grid = result.bricks.grid;
  grid.box = boxOf(map.lattice);
  for (int a = 0; a < 3; ++a) grid.numBricks[a] = brickCount(bricks[a], map.lattice.intervals[a]);
  result.bricks.boxToWorld = map.boxToWorld;
  result.bricks.beyond = BrickGrid::Beyond::displacement;

  const NmVec3i& n = grid.numBricks;
  const NmVec3i vertices(n.x + 1, n.y + 1, n.z + 1);
  grid.vertices.resize(3L * vertices.x * vertices.y * vertices.z);
  if (!result.bricks.isValid()) return {};
  const detail::LatticePoints lattice(map, map.boxToWorld, grid.box, NmMat4d());
  double* next = grid.vertices.data;
  detail::forEachMappedPoint({grid.box, vertices, n}, lattice,
                             [&](const NmVec3d&, const NmVec3d& found) {
                               for (int c = 0; c < 3; ++c) *next++ = found[c];
                             });

  detail::Distances distances;
  const NmVec3i between(3 * n.x, 3 * n.y, 3 * n.z);
  detail::forEachMappedPoint({grid.box, between, between, 0.5}, lattice,
                             [&](const NmVec3d& point, const NmVec3d& found) {
                               distances.add(found, result.bricks.ofBox(point));
                             });
  result.meanError = distances.mean();
  result.largestError = distances.largest;
  return result;
}

}  // namespace voxreg
