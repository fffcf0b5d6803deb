#include "variational/splineWeights.h"

#include <algorithm>

namespace voxreg::detail {

void splineWeights(double t, double (&weights)[4]) {
  const double u = 1.0 - t;
  weights[0] = u * u * u / 6.0;
  weights[1] = ((3.0 * t - 6.0) * t * t + 4.0) / 6.0;
  weights[2] = ((3.0 * u - 6.0) * u * u + 4.0) / 6.0;
  weights[3] = t * t * t / 6.0;
}

int splineCell(const ControlLattice& lattice, int axis, double position, double& t) {
  const int n = lattice.intervals[axis];
  const double s = (position - lattice.origin[axis]) / lattice.spacing[axis];
  const double within = s > 0.0 ? std::min(s, static_cast<double>(n)) : 0.0;
  const int cell = std::min(static_cast<int>(within), n - 1);
  t = within - cell;
  return cell;
}

}  // namespace voxreg::detail
