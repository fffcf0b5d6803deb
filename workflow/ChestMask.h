#pragma once

#include <optional>

#include "foundation/NmVec.h"

namespace voxreg {

/// The part of a chest that is left out: an ellipsoid in the reference's frame.
struct ChestMask {
  NmVec3f center;
  NmVec3f weights;  ///< of the squared distances along the axes
  float innerRadius;
  float outerRadius;

  bool holds(const NmVec3f& place) const;

  /// How far the ellipsoid reaches from its centre's plane along an axis, on the line through
  /// `place`; nothing where the line passes beside it.
  std::optional<float> halfLength(const NmVec3f& place, int axis) const;
};

}  // namespace voxreg
