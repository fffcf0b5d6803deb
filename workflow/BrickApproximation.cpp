#include "workflow/BrickApproximation.h"

#include <algorithm>
#include <vector>

#include "foundation/numbers/distances.h"
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

/// Calls visit(point, where it is sent) for `counts` points on each axis: the box is divided into
/// `steps`, and the first point is `offset` steps from its corner.
template <class Visit>
void forEachRow(const detail::LatticePoints& map, const NmBox3f& box, const NmVec3i& counts,
                const NmVec3i& steps, double offset, Visit visit) {
  const auto place = [&](int axis, int index) {
    const double low = box.min(axis);
    return low + (static_cast<double>(box.max(axis)) - low) * ((index + offset) / steps[axis]);
  };
  std::vector<NmVec3d> points(static_cast<std::size_t>(counts.x));
  std::vector<NmVec3d> found(points.size());
  for (int z = 0; z < counts.z; ++z)
    for (int y = 0; y < counts.y; ++y) {
      for (int x = 0; x < counts.x; ++x)
        points[static_cast<std::size_t>(x)] = {place(0, x), place(1, y), place(2, z)};
      map(points.data(), counts.x, found.data());
      for (std::size_t x = 0; x < points.size(); ++x) visit(points[x], found[x]);
    }
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
  forEachRow(lattice, grid.box, vertices, n, 0.0, [&](const NmVec3d&, const NmVec3d& found) {
    for (int c = 0; c < 3; ++c) *next++ = found[c];
  });

  detail::Distances distances;
  const NmVec3i between(3 * n.x, 3 * n.y, 3 * n.z);
  forEachRow(lattice, grid.box, between, between, 0.5,
             [&](const NmVec3d& point, const NmVec3d& found) {
               distances.add(found, result.bricks.ofBox(point));
             });
  result.meanError = distances.mean();
  result.largestError = distances.largest;
  return result;
}

}  // namespace voxreg
