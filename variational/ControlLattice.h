#pragma once

#include <cstdint>
#include <vector>

#include "foundation/NmBox.h"
#include "foundation/NmVec.h"

namespace voxreg {

/// A displacement as uniform cubic B-splines over a box: at x it is the sum over the 64 controls
/// around x of their coefficients times B(s_x) B(s_y) B(s_z), with s counted in intervals
/// (D. Rueckert et al., Nonrigid registration using free-form deformations, 1999). Along each axis
/// there are three controls more than intervals; the first one is one interval before the box.
struct ControlLattice {
  static constexpr int mostIntervals = 1024;  ///< along each axis

  NmVec3d origin;              ///< lower corner of the box, world units
  NmVec3d spacing;             ///< of an interval, world units
  NmVec3i intervals;           ///< along each axis, 1 to 1024
  std::vector<double> values;  ///< coefficients, world units: x fastest, component slowest

  ControlLattice() = default;

  /// Without displacement, over a box. An axis without extent gets one interval of unit length.
  ControlLattice(const NmBox3f& box, const NmVec3i& intervalCounts);

  int controlsAlong(int axis) const { return intervals[axis] + 3; }
  std::int64_t controlCount() const;  ///< of one component

  /// Whether there is a number of intervals on each axis, and the values of all controls.
  bool hasControls() const;

  /// At a position, which is moved to the box if it is outside. NaN without controls.
  NmVec3d displacementAt(const NmVec3d& position) const;

  /// The same map with twice the intervals along the axes for which `axes` is not 0. Empty
  /// without controls, or if there would be too many intervals.
  ControlLattice refined(const NmVec3i& axes) const;
};

}  // namespace voxreg
