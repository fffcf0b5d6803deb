#include "variational/ControlLattice.h"

#include <algorithm>

#include "foundation/numbers/vectors.h"
#include "variational/latticeValues.h"

namespace voxreg {

namespace {

/// Doubles the intervals of `lines` lines of n + 3 controls; successive controls of a line are
/// `stride` apart. Knot insertion: the coefficient at an old knot is (1, 6, 1) / 8 of its
/// neighbours', between two of them their mean.
void refineLine(const double* from, double* to, int n, std::int64_t stride) {
  for (int i = 0; i < 2 * n + 3; ++i) {
    const double* const c = from + stride * (i / 2);
    to[stride * i] =
        i % 2 == 0 ? 0.5 * (c[0] + c[stride]) : (c[0] + 6.0 * c[stride] + c[2 * stride]) / 8.0;
  }
}

}  // namespace

ControlLattice::ControlLattice(const NmBox3f& box, const NmVec3i& intervalCounts)
    : intervals(intervalCounts) {
  for (int axis = 0; axis < 3; ++axis) {
    intervals[axis] = std::clamp(intervals[axis], 1, mostIntervals);
    origin[axis] = static_cast<double>(box.min(axis));
    const double extent = static_cast<double>(box.max(axis)) - static_cast<double>(box.min(axis));
    spacing[axis] = extent > 0.0 ? extent / intervals[axis] : 1.0;
  }
  values.assign(static_cast<std::size_t>(3 * controlCount()), 0.0);
}

std::int64_t ControlLattice::controlCount() const {
  return std::int64_t{controlsAlong(0)} * controlsAlong(1) * controlsAlong(2);
}

bool ControlLattice::hasControls() const {
  for (int axis = 0; axis < 3; ++axis)
    if (intervals[axis] < 1 || intervals[axis] > mostIntervals) return false;
  return values.size() == static_cast<std::size_t>(3 * controlCount());
}

NmVec3d ControlLattice::displacementAt(const NmVec3d& position) const {
  if (!hasControls()) return detail::nowhere();
  const NmVec3d point = detail::inIntervals(*this, position);
  NmVec3d found;
  detail::displacementsOnLine(*this, &point, 1, &found);
  return found;
}

ControlLattice ControlLattice::refined(const NmVec3i& axes) const {
  if (!hasControls()) return {};
  ControlLattice result = *this;
  for (int axis = 0; axis < 3; ++axis) {
    if (axes[axis] == 0) continue;
    if (2 * intervals[axis] > mostIntervals) return {};
    const ControlLattice before = result;
    result.intervals[axis] *= 2;
    result.spacing[axis] *= 0.5;
    result.values.resize(static_cast<std::size_t>(3 * result.controlCount()));
    std::int64_t stride = 1;
    for (int a = 0; a < axis; ++a) stride *= before.controlsAlong(a);
    const std::int64_t fromBlock = stride * before.controlsAlong(axis);
    const std::int64_t toBlock = stride * result.controlsAlong(axis);
    const std::int64_t blocks = 3 * before.controlCount() / fromBlock;
    for (std::int64_t b = 0; b < blocks; ++b)
      for (std::int64_t s = 0; s < stride; ++s)
        refineLine(before.values.data() + b * fromBlock + s, result.values.data() + b * toBlock + s,
                   before.intervals[axis], stride);
  }
  return result;
}

}  // namespace voxreg
