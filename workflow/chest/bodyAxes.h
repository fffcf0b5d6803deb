#pragma once

#include "foundation/NmVec.h"

namespace voxreg::detail {

/// How a volume's axes run along the body: x to the left, y to the back, z to the head.
struct BodyAxes {
  NmVec3i axes;   ///< the volume's axis along each of the body's
  NmVec3i signs;  ///< 1, or -1 where it runs back
  bool oblique;   ///< the volume's axes follow none of the body's
};

}  // namespace voxreg::detail
