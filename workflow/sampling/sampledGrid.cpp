#include "workflow/sampling/sampledGrid.h"

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

}  // namespace voxreg::detail
