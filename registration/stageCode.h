#pragma once

#include "foundation/NmVec.h"

namespace voxreg::detail {

/// An entry of a schedule below 13 is a number of degrees of freedom of an affine transform, any
/// other a grid of bricks, x*10000 + y*100 + z.
inline bool isGridCode(int code) {
  return code >= 13;
}

inline NmVec3i gridOfCode(int code) {
  return {code / 10000, code / 100 % 100, code % 100};
}

}  // namespace voxreg::detail
