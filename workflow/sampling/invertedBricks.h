#pragma once

#include "workflow/BrickGrid.h"

namespace voxreg::detail {

/// The place of the reference's world that a grid sends to `point`, by Newton's method; NaN where
/// the search does not get there (see Transform::inverse).
NmVec3d inverseOf(const BrickGrid& bricks, const NmVec3d& point);

}  // namespace voxreg::detail
