#pragma once

#include "foundation/NmVec.h"

namespace voxreg::detail {

/// How a volume's axes correspond to the body's: x to the left, y to the back, z to the head.
struct BodyAxes {
  NmVec3i axes;   ///< the volume's axis for each of the body's
  NmVec3i signs;  ///< 1, or -1 if it points the other way
  bool oblique;   ///< the volume's axes are not along the body's
};

}  // namespace voxreg::detail
