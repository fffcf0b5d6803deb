#include "foundation/sampling/lanczosPoints.h"

#include <cstdint>

#include "foundation/numbers/elementary.h"
#include "foundation/sampling/axisTaps.h"

namespace voxreg::detail {
namespace {

bool liesOnVoxel(double position) {
  return position == static_cast<int>(position);
}

}  // namespace

LanczosPoints::LanczosPoints(const std::int64_t (&dims)[3]) {
  for (int axis = 0; axis < 3; ++axis) axes[axis].n = dims[axis];
}

bool LanczosPoints::add(const double (&position)[3]) {
  if (liesOnVoxel(position[1]) && liesOnVoxel(position[2])) return false;
  for (int axis = 0; axis < 3; ++axis) {
    const int below = static_cast<int>(position[axis]);
    axes[axis].below[count] = below;
    axes[axis].fraction[count] = position[axis] - below;
  }
  ++count;
  return true;
}

void LanczosPoints::complete() {
  const int n = (count + mostLanes - 1) / mostLanes * mostLanes;
  for (Axis& axis : axes) {
    for (int i = count; i < n; ++i) axis.fraction[i] = axis.fraction[i - 1];
    double angles[most];
    for (int i = 0; i < n; ++i) angles[i] = lanczosAngle(axis.fraction[i]);
    takeSinesAndCosines(angles, n, axis.sine, axis.cosine);
  }
}

}  // namespace voxreg::detail
