#include "phantoms/ChestPhantom.h"

#include <algorithm>
#include <cmath>

#include "phantoms/solidShapes.h"

namespace host {

namespace {

constexpr double skinThickness = 2.2;

Breast breastOn(const Thorax& thorax, double x, std::mt19937& random) {
  constexpr double z = 5.0;
  return {{x, thorax.wall(x, z), z}, random};
}

}  // namespace

ChestPhantom::ChestPhantom(unsigned int seed) : ChestPhantom(seed, std::mt19937(seed)) {}

ChestPhantom::ChestPhantom(unsigned int seed, std::mt19937 random)
    : thorax_(random),
      breasts_{breastOn(thorax_, -74, random), breastOn(thorax_, 74, random)},
      lesion_{breasts_[seed % 2].place({uniform(random, -0.35, 0.35), uniform(random, 0.0, 0.45),
                                        uniform(random, -0.3, 0.3)}),
              uniform(random, 7, 9)},
      padding_(uniform(random, 14, 19)),
      bumps_(40.0, random),
      lobules_(7.0, random) {}

/// The trunk has more padding at the sides of the breastbone than over it.
double ChestPhantom::skinDepth(const NmVec3d& point, double aboveWall) const {
  const double side = 1.0 - std::exp(-point.x * point.x / (50.0 * 50.0));
  const double trunk =
      aboveWall - Thorax::halfWall - padding_ - 11.0 * side - 1.5 * bumps_.at(point);
  const double breasts = std::min(breasts_[0].distance(point), breasts_[1].distance(point));
  return -smoothUnion(trunk, breasts, 22.0);
}

/// The pectoral muscles leave the breastbone uncovered and end below the breasts.
double ChestPhantom::muscleThickness(const NmVec3d& point) const {
  const double side = std::abs(point.x);
  return 12.0 * smoothStep(12, 32, side) * smoothStep(165, 120, side) *
             smoothStep(-75, -20, point.z) +
         2.0 * bumps_.at(point);
}

double ChestPhantom::lesionDistance(const NmVec3d& point) const {
  return length(difference(point, lesion_.center)) - lesion_.radius - 2.0 * lobules_.at(point);
}

bool ChestPhantom::isInFront(const NmVec3d& point) const {
  return point.y > thorax_.wall(point.x, point.z) &&
         skinDepth(point, thorax_.aboveWall(point)) > 0.0;
}

Signal ChestPhantom::signal(const NmVec3d& point) const {
  Signal signal;
  const double above = thorax_.aboveWall(point);
  const double depth = skinDepth(point, above);
  const double body = inside(-depth);
  if (!(body > 0.0)) return signal;
  if (above > -Thorax::halfWall - 1.0) {
    const double texture = 1.0 + 0.05 * lobules_.at(point);
    signal.paint(1.0, tissue::skin);
    signal.paint(inside(skinThickness - depth), {tissue::fat.plain * texture, tissue::fat.uptake});
    const double aboveMuscle = above - Thorax::halfWall - muscleThickness(point) - 2.0;
    const Breast& breast = breasts_[point.x < 0 ? 0 : 1];
    if (depth > skinThickness) {
      breast.paint(signal, point, depth, aboveMuscle);
      // A halo of gland connects the lesion to its surroundings.
      const double lesion = lesionDistance(point);
      signal.paint(smoothStep(6, 1, lesion), tissue::gland);
      signal.paint(inside(lesion), tissue::lesion);
    }
    const double muscle = std::max(aboveMuscle, Thorax::halfWall + 1.5 - above);
    signal.paint(inside(muscle), {tissue::muscle.plain * texture, tissue::muscle.uptake});
  }
  thorax_.paint(signal, point, above);
  signal.paint(1.0 - body, {});
  return signal;
}

}  // namespace host
