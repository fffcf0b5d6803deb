#pragma once

namespace voxreg::detail {

/// `value` clamped to [lower, upper]; NaN stays NaN, and reversed limits give `upper`.
inline float clamped(float value, float lower, float upper) {
  value = value < lower ? lower : value;
  return value > upper ? upper : value;
}

}  // namespace voxreg::detail
