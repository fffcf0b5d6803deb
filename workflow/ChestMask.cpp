#include "workflow/ChestMask.h"

#include <cmath>

namespace voxreg {

namespace {

float square(float value) {
  return value * value;
}

}  // namespace

bool ChestMask::holds(const NmVec3f& place) const {
  float sum = 0.0f;
  for (int a = 0; a < 3; ++a) sum += weights[a] * square(place[a] - center[a]);
  return sum < square(outerRadius);
}

std::optional<float> ChestMask::halfLength(const NmVec3f& place, int axis) const {
  float rest = square(outerRadius);
  for (int a = 0; a < 3; ++a)
    if (a != axis) rest -= weights[a] * square(place[a] - center[a]);
  if (!(rest > 0.0f && weights[axis] > 0.0f)) return std::nullopt;
  return std::sqrt(rest / weights[axis]);
}

}  // namespace voxreg
