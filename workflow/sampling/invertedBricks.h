#pragma once

#include "workflow/BrickGrid.h"

namespace voxreg::detail {

/// The position in the reference's world that a grid maps to `point`, by Newton's method; NaN if
/// the search does not converge (see Transform::inverse).
NmVec3d inverseOf(const BrickGrid& bricks, const NmVec3d& point);

}  // namespace voxreg::detail
