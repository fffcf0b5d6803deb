#include "variational/latticeDeterminants.h"

#include <vector>

#include "variational/latticeValues.h"

namespace voxreg::detail {

DeterminantRange cornerDeterminants(const ControlLattice& lattice, const NmMat4d& linear,
                                    int perInterval) {
  DisplacedPoints points = {lattice.origin, {}, {}, {}};
  for (int a = 0; a < 3; ++a) {
    points.perUnit[a] = perInterval / lattice.spacing[a];
    points.dims[a] = perInterval * lattice.intervals[a] + 1;
  }
  const double step = 1.0 / perInterval;
  std::vector<NmVec3d> places(static_cast<std::size_t>(points.dims.x));
  points.fillRow = [&](int y, int z, NmVec3d* row) {
    for (std::size_t x = 0; x < places.size(); ++x)
      places[x] = {static_cast<double>(x) * step, y * step, z * step};
    displacementsOnLine(lattice, places.data(), points.dims.x, row);
  };
  return cornerDeterminants(points, linear);
}

}  // namespace voxreg::detail
