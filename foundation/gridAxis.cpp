#include "foundation/gridAxis.h"

#include <algorithm>
#include <cmath>

namespace voxreg::detail {
namespace {

// A flat axis has no voxel size to measure by. A few units in the last place of the largest
// coordinate are what single precision loses on the way into this volume's plane.
double flatSlack(const NmBox3f& box) {
  double largest = 0.0;
  for (int axis = 0; axis < 3; ++axis) {
    largest = std::max(largest, std::fabs(static_cast<double>(box.min(axis))));
    largest = std::max(largest, std::fabs(static_cast<double>(box.max(axis))));
  }
  return 1e-6 * largest;
}

}  // namespace

GridAxis::GridAxis(const NmBox3f& box, int axis, long n)
    : min_(box.min(axis)), max_(box.max(axis)), n_(n) {
  const double voxel = (max_ - min_) / static_cast<double>(n > 1 ? n - 1 : 1);
  slack_ = n == 1 && voxel == 0.0 ? flatSlack(box) : 1e-3 * voxel;
}

bool GridAxis::locate(float coordinate, double& position) const {
  const double p = coordinate;
  if (!(p >= min_ - slack_ && p <= max_ + slack_)) return false;
  if (n_ == 1) {
    position = 0.0;
    return true;
  }
  const double last = static_cast<double>(n_ - 1);
  // Multiplied first, a voxel's own position comes out whole wherever single precision can name it.
  const double t = (p - min_) * last / (max_ - min_);
  if (!(t == t)) return false;
  position = std::clamp(t, 0.0, last);
  return true;
}

}  // namespace voxreg::detail
