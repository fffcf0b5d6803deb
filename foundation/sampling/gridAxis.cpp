#include "foundation/sampling/gridAxis.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace voxreg::detail {
namespace {

// A flat axis has no voxel size as a measure. A few units in the last place of the largest
// coordinate are the single-precision error on the way into this volume's plane.
double flatSlack(const NmBox3f& box) {
  double largest = 0.0;
  for (int axis = 0; axis < 3; ++axis) {
    largest = std::max(largest, std::fabs(static_cast<double>(box.min(axis))));
    largest = std::max(largest, std::fabs(static_cast<double>(box.max(axis))));
  }
  return 1e-6 * largest;
}

}  // namespace

GridAxis::GridAxis(const NmBox3f& box, int axis, std::int64_t n)
    : min_(box.min(axis)), max_(box.max(axis)), last_(static_cast<double>(n - 1)), n_(n) {
  const double voxel = (max_ - min_) / static_cast<double>(n > 1 ? n - 1 : 1);
  slack_ = n == 1 && voxel == 0.0 ? flatSlack(box) : 1e-3 * voxel;
}

// Free of branches, so that compilers can vectorise over many of them.
inline double GridAxis::positionOf(double coordinate) const {
  constexpr double outside = -1.0;
  const bool isInside = (coordinate >= min_ - slack_) & (coordinate <= max_ + slack_);
  // With the multiplication first, a voxel's own position is an exact integer wherever single
  // precision can represent it.
  double t = (coordinate - min_) * last_ / (max_ - min_);
  const bool isNumber = t == t;
  t = t < 0.0 ? 0.0 : t;
  t = t > last_ ? last_ : t;
  return (isInside & isNumber) ? t : outside;
}

bool GridAxis::locate(float coordinate, double& position) const {
  double found;
  locate(&coordinate, 1, &found);
  if (found < 0.0) return false;
  position = found;
  return true;
}

void GridAxis::locate(const float* coordinates, std::int64_t n, double* positions) const {
  if (n_ == 1) {
    // With one voxel there is no length to divide by.
    for (std::int64_t i = 0; i < n; ++i)
      positions[i] =
          coordinates[i] >= min_ - slack_ && coordinates[i] <= max_ + slack_ ? 0.0 : -1.0;
    return;
  }
  for (std::int64_t i = 0; i < n; ++i) positions[i] = positionOf(coordinates[i]);
}

}  // namespace voxreg::detail
