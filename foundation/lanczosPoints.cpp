#include "foundation/lanczosPoints.h"

#include "foundation/axisTaps.h"

namespace voxreg::detail {
namespace {

bool liesOnVoxel(double position) {
  return position == static_cast<int>(position);
}

}  // namespace

LanczosPoints::LanczosPoints(const long (&dims)[3]) {
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
  for (Axis& axis : axes)
    for (int i = 0; i < count || i % mostLanes != 0; ++i) {
      if (i >= count) axis.fraction[i] = axis.fraction[i - 1];
      // Rows along an axis of the volume keep their fractions on the others.
      if (i > 0 && axis.fraction[i] == axis.fraction[i - 1]) {
        axis.sine[i] = axis.sine[i - 1];
        axis.cosine[i] = axis.cosine[i - 1];
        continue;
      }
      const LanczosAngle angle(axis.fraction[i]);
      axis.sine[i] = angle.sine;
      axis.cosine[i] = angle.cosine;
    }
}

}  // namespace voxreg::detail
