#pragma once

namespace voxreg::detail {

/// `value` within [lower, upper]; NaN stays NaN, and limits the wrong way round give `upper`.
inline float clamped(float value, float lower, float upper) {
  value = value < lower ? lower : value;
  return value > upper ? upper : value;
}

}  // namespace voxreg::detail
