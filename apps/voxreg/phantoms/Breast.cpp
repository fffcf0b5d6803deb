#include "phantoms/Breast.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "phantoms/solidShapes.h"

namespace host {

Breast::Breast(const NmVec3d& base, std::mt19937& random)
    : center_{base.x + uniform(random, -4, 4), base.y + uniform(random, 14, 20),
              base.z + uniform(random, -6, 6)},
      radii_{uniform(random, 58, 64), uniform(random, 76, 88), uniform(random, 60, 68)},
      leanX_((base.x < 0 ? -1.0 : 1.0) * uniform(random, 0.02, 0.14)),
      leanZ_(uniform(random, -0.15, -0.05)),
      glandAmount_(uniform(random, -0.05, 0.15)),
      coarse_(22.0, random),
      middle_(9.0, random),
      fine_(3.5, random) {
  for (Vessel& vessel : vessels_)
    vessel = {uniform(random, -30, 30), uniform(random, -30, 30), uniform(random, 5, 11),
              uniform(random, 1.0, 2.0), uniform(random, 0, 2 * std::numbers::pi)};
}

NmVec3d Breast::upright(const NmVec3d& point) const {
  const NmVec3d p = difference(point, center_);
  return {p.x - leanX_ * p.y, p.y, p.z - leanZ_ * p.y};
}

NmVec3d Breast::place(const NmVec3d& share) const {
  const double y = share.y * radii_.y;
  return {center_.x + share.x * radii_.x + leanX_ * y, center_.y + y,
          center_.z + share.z * radii_.z + leanZ_ * y};
}

double Breast::distance(const NmVec3d& point) const {
  const NmVec3d local = upright(point);
  const double nipple = ellipsoidDistance(local, {0, radii_.y, 0}, {6, 7, 6});
  return smoothUnion(ellipsoidDistance(local, {}, radii_), nipple, 3.0);
}

/// A cone of glands that tapers to the nipple, with fat between its lobes.
double Breast::glandShare(const NmVec3d& local, double depth, double aboveMuscle) const {
  const double front = local.y / radii_.y;
  const double across = std::hypot(local.x / radii_.x, local.z / radii_.z);
  const double cone = 0.75 * std::sqrt(std::max(1.05 - front, 0.0)) - across;
  const double lobes = coarse_.at(local) + 0.7 * middle_.at({local.x, 0.5 * local.y, local.z}) +
                       0.3 * fine_.at(local);
  const double share = smoothStep(-0.06, 0.06, 0.55 * cone + 0.35 * lobes - 0.12 + glandAmount_);
  return share * smoothStep(4, 9, depth) * smoothStep(3, 10, aboveMuscle);
}

/// They run from the wall towards the nipple in waves.
double Breast::vesselDistance(const NmVec3d& local) const {
  double nearest = radii_.x;
  for (const Vessel& vessel : vessels_) {
    const double angle =
        vessel.phase + 2 * std::numbers::pi * vessel.turns * local.y / (2 * radii_.y);
    const double narrowing = 1.0 - 0.7 * std::clamp(local.y / radii_.y, 0.0, 1.0);
    const double dx = local.x - narrowing * vessel.x - vessel.swing * std::cos(angle);
    const double dz = local.z - narrowing * vessel.z - vessel.swing * std::sin(1.3 * angle);
    nearest = std::min(nearest, std::hypot(dx, dz));
  }
  constexpr double radius = 1.5;
  return nearest - radius;
}

void Breast::paint(Signal& signal, const NmVec3d& point, double depth, double aboveMuscle) const {
  const NmVec3d local = upright(point);
  const double strand = 1.0 - std::abs(middle_.at(local)) / 0.10;
  if (strand > 0.0) signal.paint(0.8 * strand * smoothStep(0, 4, aboveMuscle), tissue::ligament);
  const double share = glandShare(local, depth, aboveMuscle);
  if (share > 0.0) {
    const double texture = fine_.at(local);
    signal.paint(share, {tissue::gland.plain * (1.0 + 0.15 * texture),
                         tissue::gland.uptake * (1.0 + 0.8 * coarse_.at(point))});
  }
  const double inFat = smoothStep(2, 5, depth) * smoothStep(1, 3, aboveMuscle);
  signal.paint(inFat * inside(vesselDistance(local)), tissue::vessel);
}

}  // namespace host
