#include "phantoms/Phantom.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

#include "phantoms/randomNumbers.h"

namespace host {

namespace {

constexpr double edgeWidth = 1.0;  // millimetres over which one tissue blends into the next

}  // namespace

Phantom::Phantom(unsigned int seed)
    : bodies_{{{0, 0, 0}, {70, 84, 76}, 0.55, 0.0},   // scalp
              {{0, 0, 0}, {65, 79, 71}, 0.08, 0.0},   // skull
              {{0, 0, 2}, {60, 74, 65}, 0.62, 0.10},  // grey matter
              {{0, 2, 4}, {50, 62, 54}, 0.85, 0.06},  // white matter
              {{-10, 4, 8}, {7, 24, 10}, 0.20, 0.0},  // ventricles, the left one larger
              {{11, 2, 8}, {5, 20, 8}, 0.20, 0.0},
              {{-22, -6, -6}, {11, 14, 10}, 0.70, 0.05},  // deep grey matter
              {{23, -4, -6}, {10, 15, 9}, 0.70, 0.05},
              {{2, -46, -36}, {32, 18, 16}, 0.58, 0.12}} {  // cerebellum
  std::mt19937 random(seed);
  for (int i = 9; i < 12; ++i) {
    bodies_[i] = {uniformVector(random, -30, 30), uniformVector(random, 4, 9),
                  uniform(random, 0.3, 1.0), 0.0};
  }
  for (Wave& wave : waves_)
    wave = {uniformVector(random, -0.4, 0.4), uniform(random, 0, 2 * std::numbers::pi)};
}

double Phantom::textureAt(const NmVec3d& point) const {
  double sum = 0.0;
  for (const Wave& wave : waves_)
    sum += std::sin(wave.frequency.x * point.x + wave.frequency.y * point.y +
                    wave.frequency.z * point.z + wave.phase);
  return sum / static_cast<double>(std::size(waves_));
}

double Phantom::value(const NmVec3d& point) const {
  const double texture = textureAt(point);
  double intensity = 0.0;
  for (const Body& body : bodies_) {
    const double radius = std::hypot((point.x - body.center.x) / body.radii.x,
                                     (point.y - body.center.y) / body.radii.y,
                                     (point.z - body.center.z) / body.radii.z);
    const double least = std::min({body.radii.x, body.radii.y, body.radii.z});
    const double depth = (1.0 - radius) * least / edgeWidth;
    const double share = std::clamp(0.5 + depth, 0.0, 1.0);
    intensity += share * (body.intensity + body.texture * texture - intensity);
  }
  return intensity;
}

NiftiVolume acquire(const Phantom& phantom, int size, const Acquisition& acquisition) {
  const double spacing = 192.0 / size;
  const float edge = static_cast<float>(0.5 * spacing * (size - 1));
  NiftiVolume volume =
      newVolume(NmVec3l(size, size, size), NmBox3f(-edge, edge, -edge, edge, -edge, edge),
                NmPrimType::UnsignedShort);
  std::mt19937 random(acquisition.noiseSeed);
  const NmHandle<VlDataAccess> access = volume.image.volume()->lock(true);
  std::vector<float> row(static_cast<std::size_t>(size));
  for (int z = 0; z < size; ++z)
    for (int y = 0; y < size; ++y) {
      for (int x = 0; x < size; ++x) {
        NmVec3d point(x * spacing - edge, y * spacing - edge, z * spacing - edge);
        acquisition.modelToReference.multVecMatrix(point, point);
        const double value = std::pow(std::max(phantom.value(point), 0.0), acquisition.contrast) +
                             acquisition.noise * normal(random);
        row[static_cast<std::size_t>(x)] = static_cast<float>(4000.0 * std::max(value, 0.0));
      }
      (void)access->putRow(-1, y, z, row.data());
    }
  return volume;
}

}  // namespace host
