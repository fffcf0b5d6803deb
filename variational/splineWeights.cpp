#include "variational/splineWeights.h"

#include <algorithm>

namespace voxreg::detail {

void sixfoldWeights(double t, double (&weights)[4]) {
  const double u = 1.0 - t;
  weights[0] = u * u * u;
  weights[1] = (3.0 * t - 6.0) * t * t + 4.0;
  weights[2] = (3.0 * u - 6.0) * u * u + 4.0;
  weights[3] = t * t * t;
}

void splineWeights(double t, double (&weights)[4]) {
  sixfoldWeights(t, weights);
  for (double& weight : weights) weight /= 6.0;
}

void splineSlopes(double t, double (&slopes)[4]) {
  const double u = 1.0 - t;
  slopes[0] = -0.5 * u * u;
  slopes[1] = (1.5 * t - 2.0) * t;
  slopes[2] = (2.0 - 1.5 * u) * u;
  slopes[3] = 0.5 * t * t;
}

int splineCell(int intervals, double coordinate, double& t) {
  const double within =
      coordinate > 0.0 ? std::min(coordinate, static_cast<double>(intervals)) : 0.0;
  const int cell = std::min(static_cast<int>(within), intervals - 1);
  t = within - cell;
  return cell;
}

int splineCell(const ControlLattice& lattice, int axis, double position, double& t) {
  return splineCell(lattice.intervals[axis],
                    (position - lattice.origin[axis]) / lattice.spacing[axis], t);
}

}  // namespace voxreg::detail
