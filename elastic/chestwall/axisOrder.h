#pragma once

#include "foundation/NmVec.h"

namespace voxreg::detail {

/// True when `axes` holds each of 0, 1 and 2.
inline bool isPermutation(const NmVec3i& axes) {
  bool taken[3] = {};
  for (int i = 0; i < 3; ++i) {
    const int axis = axes[i];
    if (axis < 0 || axis > 2 || taken[axis]) return false;
    taken[axis] = true;
  }
  return true;
}

}  // namespace voxreg::detail
