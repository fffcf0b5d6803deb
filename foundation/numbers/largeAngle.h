#pragma once

#include "foundation/numbers/twofold.h"

namespace voxreg::detail {

/// What is left of an angle without its whole quarters of a turn: at most about pi/4 in size.
struct ReducedAngle {
  Twofold rest;
  int quarter;  ///< modulo 4
};

/// Reduces a finite angle of 2^-12 or more in size, however large, to about 100 bits.
ReducedAngle reduceLargeAngle(double x);

}  // namespace voxreg::detail
