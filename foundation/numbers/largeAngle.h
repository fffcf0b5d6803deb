#pragma once

#include "foundation/numbers/twofold.h"

namespace voxreg::detail {

/// The remainder of an angle modulo quarter turns: at most about pi/4 in magnitude.
struct ReducedAngle {
  Twofold rest;
  int quarter;  ///< modulo 4
};

/// Reduces a finite angle of 2^-12 or more in magnitude, however large, to about 100 bits.
ReducedAngle reduceLargeAngle(double x);

}  // namespace voxreg::detail
