#pragma once

#include "foundation/NmVec.h"

namespace voxreg::detail {

/// raw * slope + intercept, with the slope in x and the intercept in y.
float physicalValue(float raw, const NmVec2f& rescale);

/// The reverse; a slope of 0 counts as 1.
float rawValue(float physical, const NmVec2f& rescale);

}  // namespace voxreg::detail
