#include "workflow/sampling/sampledGrid.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace voxreg::detail {

SampledGrid::SampledGrid(const NmVec3l& dims, const NmBox3f& box, const NmVec3l& filledDims) {
  constexpr double slack = 0.01;
  constexpr double flatReach = 0.5;
  for (int a = 0; a < 3; ++a) {
    Axis& axis = axes_[a];
    axis.min = box.min(a);
    axis.last = static_cast<double>(dims[a] - 1);
    if (dims[a] > 1) {
      axis.perMillimetre = axis.last / (static_cast<double>(box.max(a)) - axis.min);
      axis.reach = slack;
    } else {
      axis.perMillimetre = 0.0;
      axis.reach = filledDims[a] > 1 ? flatReach : std::numeric_limits<double>::infinity();
    }
  }
}

bool SampledGrid::Axis::locate(double& place) const {
  constexpr double roundingError = 1e-3;
  const double beside = place - min;
  if (!(perMillimetre > 0.0)) {
    place = 0.0;
    return std::abs(beside) <= reach;
  }
  const double voxel = beside * perMillimetre;
  if (!(voxel >= -reach && voxel <= last + reach)) return false;
  const double limited = std::clamp(voxel, 0.0, last);
  const double whole = std::round(limited);
  place = std::abs(limited - whole) <= roundingError ? whole : limited;
  return true;
}

}  // namespace voxreg::detail
