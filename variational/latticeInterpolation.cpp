#include "variational/latticeInterpolation.h"

#include <cstdint>
#include <vector>

namespace voxreg::detail {
namespace {

/// The coefficients c[0 .. n + 2] of the natural spline through c[1 .. n + 1], in place; successive
/// ones are `stride` apart. Inside (c[i-1] + 4 c[i] + c[i+1]) / 6 is the value, at the ends the
/// value itself is the coefficient; solved by elimination.
void solveLine(double* c, int n, std::int64_t stride) {
  std::vector<double> ratio(static_cast<std::size_t>(n + 1), 0.0);
  const auto at = [&](int i) -> double& { return c[stride * (i + 1)]; };
  for (int i = 1; i < n; ++i) {
    const double pivot = 4.0 - ratio[static_cast<std::size_t>(i - 1)];
    ratio[static_cast<std::size_t>(i)] = 1.0 / pivot;
    at(i) = (6.0 * at(i) - at(i - 1)) / pivot;
  }
  for (int i = n - 1; i > 0; --i) at(i) -= ratio[static_cast<std::size_t>(i)] * at(i + 1);
  at(-1) = 2.0 * at(0) - at(1);
  at(n + 1) = 2.0 * at(n) - at(n - 1);
}

}  // namespace

void interpolate(const std::function<NmVec3d(const NmVec3d&)>& displacement,
                 ControlLattice& lattice) {
  const std::int64_t count = lattice.controlCount();
  lattice.values.assign(static_cast<std::size_t>(3 * count), 0.0);
  const NmVec3i& n = lattice.intervals;
  for (int k = 0; k <= n.z; ++k)
    for (int j = 0; j <= n.y; ++j)
      for (int i = 0; i <= n.x; ++i) {
        const NmVec3d u = displacement({lattice.origin.x + i * lattice.spacing.x,
                                        lattice.origin.y + j * lattice.spacing.y,
                                        lattice.origin.z + k * lattice.spacing.z});
        const std::int64_t at =
            i + 1 +
            lattice.controlsAlong(0) * (j + 1 + std::int64_t{lattice.controlsAlong(1)} * (k + 1));
        for (int c = 0; c < 3; ++c) lattice.values[static_cast<std::size_t>(at + c * count)] = u[c];
      }
  std::int64_t stride = 1;
  for (int axis = 0; axis < 3; ++axis) {
    const std::int64_t block = stride * lattice.controlsAlong(axis);
    for (std::int64_t first = 0; first < 3 * count; first += block)
      for (std::int64_t s = 0; s < stride; ++s)
        solveLine(lattice.values.data() + first + s, n[axis], stride);
    stride = block;
  }
}

}  // namespace voxreg::detail
