#include "phantoms/solidShapes.h"

#include <algorithm>
#include <cmath>

namespace host {

double ellipsoidDistance(const NmVec3d& point, const NmVec3d& center, const NmVec3d& radii) {
  const NmVec3d p = difference(point, center);
  const double level = length({p.x / radii.x, p.y / radii.y, p.z / radii.z});
  const double slope =
      length({p.x / (radii.x * radii.x), p.y / (radii.y * radii.y), p.z / (radii.z * radii.z)});
  // At the centre the gradient vanishes together with the level.
  return slope > 1e-9 ? level * (level - 1.0) / slope : -std::min({radii.x, radii.y, radii.z});
}

double smoothUnion(double a, double b, double fillet) {
  const double share = std::clamp(0.5 + 0.5 * (b - a) / fillet, 0.0, 1.0);
  return b + share * (a - b) - fillet * share * (1.0 - share);
}

double inside(double distance) {
  return std::clamp(0.5 - distance, 0.0, 1.0);
}

double smoothStep(double low, double high, double value) {
  const double t = std::clamp((value - low) / (high - low), 0.0, 1.0);
  return t * t * (3.0 - 2.0 * t);
}

NmVec3d difference(const NmVec3d& a, const NmVec3d& b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}

double length(const NmVec3d& v) {
  return std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
}

}  // namespace host
