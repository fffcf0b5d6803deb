#pragma once

#include <optional>

#include "foundation/NmVec.h"

namespace voxreg {

/// The masked part of a chest: an ellipsoid in the reference's frame.
struct ChestMask {
  NmVec3f center;
  NmVec3f weights;  ///< of the squared distances along the axes
  float innerRadius;
  float outerRadius;

  bool holds(const NmVec3f& place) const;

  /// Extent of the ellipsoid from its centre's plane along an axis, on the line through `place`;
  /// nothing if the line misses it.
  std::optional<float> halfLength(const NmVec3f& place, int axis) const;
};

}  // namespace voxreg
