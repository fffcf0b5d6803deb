#pragma once

#include <cstdint>
#include <vector>

#include "foundation/NmBox.h"
#include "foundation/NmVec.h"

namespace voxreg::detail {

/// Regular points of a box, which is divided into `steps` on each axis: `counts` of them, the first
/// one `offset` steps from the corner.
struct BoxPoints {
  NmBox3f box;
  NmVec3i counts;
  NmVec3i steps;
  double offset = 0.0;

  double place(int axis, int index) const {
    const double low = box.min(axis);
    return low + (static_cast<double>(box.max(axis)) - low) * ((index + offset) / steps[axis]);
  }
};

/// Calls visit(point, where it is sent) for all points, x fastest. `map(points, n, found)` maps a
/// row.
template <class Map, class Visit>
void forEachMappedPoint(const BoxPoints& grid, const Map& map, Visit visit) {
  std::vector<NmVec3d> points(static_cast<std::size_t>(grid.counts.x));
  std::vector<NmVec3d> found(points.size());
  for (int z = 0; z < grid.counts.z; ++z)
    for (int y = 0; y < grid.counts.y; ++y) {
      for (int x = 0; x < grid.counts.x; ++x)
        points[static_cast<std::size_t>(x)] = {grid.place(0, x), grid.place(1, y),
                                               grid.place(2, z)};
      map(points.data(), std::int64_t{grid.counts.x}, found.data());
      for (std::size_t x = 0; x < points.size(); ++x) visit(points[x], found[x]);
    }
}

}  // namespace voxreg::detail
