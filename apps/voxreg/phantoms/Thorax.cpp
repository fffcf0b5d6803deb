#include "phantoms/Thorax.h"

#include <algorithm>
#include <cmath>

#include "phantoms/solidShapes.h"

namespace host {

Thorax::Thorax(std::mt19937& random)
    : center_{uniform(random, -3, 3), uniform(random, -80, -66), uniform(random, -30, 10)},
      radii_{uniform(random, 148, 160), uniform(random, 108, 118), uniform(random, 230, 290)},
      heart_{center_.x - uniform(random, 22, 30), center_.y + radii_.y - uniform(random, 58, 64),
             uniform(random, -35, -15)},
      ribPhase_(uniform(random, 0, 26)),
      liverTop_(uniform(random, -52, -40)),
      coarse_(14.0, random),
      fine_(5.0, random),
      branches_{{16.0, random}, {16.0, random}} {}

double Thorax::aboveWall(const NmVec3d& point) const {
  return ellipsoidDistance(point, center_, radii_);
}

double Thorax::wall(double x, double z) const {
  const double u = (x - center_.x) / radii_.x;
  const double w = (z - center_.z) / radii_.z;
  return center_.y + radii_.y * std::sqrt(std::max(1.0 - u * u - w * w, 0.0));
}

void Thorax::paint(Signal& signal, const NmVec3d& point, double above) const {
  signal.paint(inside(above - halfWall), wallTissue(point, above));
  const double cavity = inside(above + halfWall);
  if (!(cavity > 0.0)) return;
  Signal organs;
  paintOrgans(organs, point);
  signal.paint(cavity, organs);
}

/// Muscle between ribs that slope down towards the sides, and the sternum with marrow inside its
/// cortex.
Signal Thorax::wallTissue(const NmVec3d& point, double above) const {
  Signal tissue = tissue::muscle;
  const double side = std::abs(point.x - center_.x);
  constexpr double ribSpacing = 26.0;
  const double place = (point.z + 0.25 * side + ribPhase_) / ribSpacing;
  const double fromRib = ribSpacing * (place - std::round(place));
  const double rib = std::hypot(fromRib, above) - 5.5;
  tissue.paint(inside(rib), tissue::cortex);
  tissue.paint(inside(rib + 1.5), tissue::marrow);
  const double sternum = std::max(side - 17.0, std::abs(above) - halfWall);
  tissue.paint(inside(sternum), tissue::cortex);
  tissue.paint(inside(sternum + 2.0),
               {tissue::marrow.plain * (1.0 + 0.1 * fine_.at(point)), tissue::marrow.uptake});
  return tissue;
}

void Thorax::paintOrgans(Signal& signal, const NmVec3d& point) const {
  signal = tissue::lung;
  // Two textures vanish together only along lines.
  const double branch = std::hypot(branches_[0].at(point), branches_[1].at(point));
  signal.paint(smoothStep(0.16, 0.06, branch), tissue::blood);
  const NmVec3d p = difference(point, center_);
  const double mediastinum = std::abs(p.x + 8.0) - (26.0 + 8.0 * coarse_.at(p));
  signal.paint(inside(mediastinum), tissue::innerFat);
  paintHeart(signal, point);
  const double dome =
      point.z - liverTop_ - 25.0 + ((p.x - 30.0) * (p.x - 30.0) + p.y * p.y) / 300.0;
  signal.paint(inside(dome),
               {tissue::liver.plain * (1.0 + 0.06 * coarse_.at(point)), tissue::liver.uptake});
  const double spine = ellipsoidDistance({p.x, p.y, 0}, {0, -62, 0}, {23, 19, 1});
  signal.paint(inside(spine), tissue::cortex);
  signal.paint(inside(spine + 2.0), tissue::marrow);
  const double aorta = std::hypot(p.x + 22.0, p.y + 36.0) - 11.0;
  signal.paint(inside(aorta), tissue::blood);
}

/// Two chambers of blood in a muscle, inside a coat of fat.
void Thorax::paintHeart(Signal& signal, const NmVec3d& point) const {
  const double outline = ellipsoidDistance(point, heart_, {54, 42, 56}) - 3.0 * coarse_.at(point);
  signal.paint(inside(outline - 6.0), tissue::innerFat);
  signal.paint(inside(outline), tissue::myocardium);
  const NmVec3d p = difference(point, heart_);
  const double septum = std::abs(0.6 * p.x + 0.8 * p.y + 4.0) - 4.0;
  signal.paint(inside(std::max(outline + 8.0 + 2.0 * fine_.at(point), -septum)), tissue::blood);
}

}  // namespace host
