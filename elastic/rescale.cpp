#include "elastic/rescale.h"

namespace voxreg::detail {

float physicalValue(float raw, const NmVec2f& rescale) {
  return raw * rescale.x + rescale.y;
}

float rawValue(float physical, const NmVec2f& rescale) {
  const float shifted = physical - rescale.y;
  return rescale.x == 0.0f ? shifted : shifted / rescale.x;
}

}  // namespace voxreg::detail
