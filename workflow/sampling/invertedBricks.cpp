#include "workflow/sampling/invertedBricks.h"

#include <cmath>
#include <limits>

#include "workflow/sampling/vectors.h"

namespace voxreg::detail {

namespace {

NmVec3d minus(const NmVec3d& a, const NmVec3d& b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}

NmVec3d stepped(const NmVec3d& place, const NmVec3d& step, double share) {
  return {place.x + share * step.x, place.y + share * step.y, place.z + share * step.z};
}

/// The centre of the box, in the reference's world.
NmVec3d middleOf(const BrickGrid& bricks) {
  NmVec3d middle;
  for (int a = 0; a < 3; ++a)
    middle[a] = 0.5 * (static_cast<double>(bricks.grid.box.min(a)) +
                       static_cast<double>(bricks.grid.box.max(a)));
  bricks.boxToWorld.multVecMatrix(middle, middle);
  return middle;
}

/// Newton's method with a share of each step; true if it converges, at `place`.
bool search(const BrickGrid& bricks, const NmVec3d& target, double share, NmVec3d& place) {
  constexpr int mostSteps = 100;
  const double enough = 1e-6 + 1e-12 * length(target);
  place = middleOf(bricks);
  for (int i = 0; i < mostSteps; ++i) {
    const NmVec3d rest = minus(target, bricks.ofWorld(place));
    const double distance = length(rest);
    if (distance <= enough) return true;
    if (!std::isfinite(distance)) return false;
    NmVec3d step;
    bricks.jacobian(place).inverse().multDirMatrix(rest, step);
    place = stepped(place, step, share);
  }
  return false;
}

}  // namespace

// Within a brick the map is smooth, and full steps converge in a few iterations. Across the faces
// of bricks, where the slope jumps, full steps may oscillate for ever; shorter ones do not.
NmVec3d inverseOf(const BrickGrid& bricks, const NmVec3d& point) {
  NmVec3d place;
  for (const double share : {1.0, 0.5, 0.25})
    if (search(bricks, point, share, place)) return place;
  constexpr double nan = std::numeric_limits<double>::quiet_NaN();
  return {nan, nan, nan};
}

}  // namespace voxreg::detail
