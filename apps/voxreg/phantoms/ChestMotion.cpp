#include "phantoms/ChestMotion.h"

#include <cmath>
#include <numbers>

#include "phantoms/solidShapes.h"

namespace host {

namespace {

void add(NmVec3d& sum, double factor, const NmVec3d& v) {
  for (int a = 0; a < 3; ++a) sum[a] += factor * v[a];
}

}  // namespace

ChestMotion::ChestMotion(const ChestPhantom& phantom, unsigned int seed)
    : thorax_(phantom.thorax()) {
  std::mt19937 random(seed);
  const auto sag = [&](double side) {
    return NmVec3d{side * uniform(random, 3, 7), uniform(random, 3, 6), uniform(random, -9, -6)};
  };
  sagging_[0] = sag(-1.0);
  sagging_[1] = sag(1.0);
  breathing_ = {0, uniform(random, 2, 5), uniform(random, -14, -9)};
  for (Wave& wave : waves_)
    wave = {uniformVector(random, -1.5, 1.5), uniformVector(random, -0.05, 0.05),
            uniform(random, 0, 2 * std::numbers::pi)};
}

NmVec3d ChestMotion::displacement(const NmVec3d& place) const {
  const double above = thorax_.aboveWall(place);
  const double front = smoothStep(0, 80, above);
  const double right = smoothStep(-45, 45, place.x);
  NmVec3d sum;
  add(sum, front * (1.0 - right), sagging_[0]);
  add(sum, front * right, sagging_[1]);
  add(sum, smoothStep(0, -70, above), breathing_);
  const double free = smoothStep(0, 30, above);
  for (const Wave& wave : waves_)
    add(sum,
        free * std::sin(wave.frequency.x * place.x + wave.frequency.y * place.y +
                        wave.frequency.z * place.z + wave.phase),
        wave.direction);
  return sum;
}

NmVec3d ChestMotion::moved(const NmVec3d& place) const {
  NmVec3d result = place;
  add(result, 1.0, displacement(place));
  return result;
}

// The displacement changes by less than half a millimetre per millimetre, so each iteration at
// least halves the error.
NmVec3d ChestMotion::origin(const NmVec3d& place) const {
  constexpr double tolerance = 0.0005;
  constexpr int mostTurns = 40;
  NmVec3d rest = place;
  for (int turn = 0; turn < mostTurns; ++turn) {
    const NmVec3d error = difference(place, moved(rest));
    add(rest, 1.0, error);
    if (length(error) < tolerance) break;
  }
  return rest;
}

}  // namespace host
