#pragma once

#include <cstdint>

#include "foundation/NmDVector.h"

namespace voxreg::detail {

/// Of an affine transform: three each of translations, rotations, scales, shears and coordinates of
/// the centre.
inline constexpr std::int64_t affineParameterCount = 15;

/// The value of parameter `i` in the identity.
constexpr double identityParameter(std::int64_t i) {
  return i >= 6 && i < 9 ? 1.0 : 0.0;
}

/// Completes a vector that a host has shortened with the identity's values.
inline void completeAffineParameters(NmDVector<double>& params) {
  const std::int64_t present = params.size;
  if (present >= affineParameterCount) return;
  params.resize(affineParameterCount);
  for (std::int64_t i = present; i < affineParameterCount; ++i) params[i] = identityParameter(i);
}

}  // namespace voxreg::detail
