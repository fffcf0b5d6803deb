#include "phantoms/chestVolumes.h"

#include <cmath>
#include <vector>

namespace host {

namespace {

/// The coils surround the breasts; their sensitivity is low far behind them.
double sensitivity(const NmVec3d& point) {
  constexpr double halfway = 10.0;
  constexpr double fall = 40.0;
  return 0.15 + 0.9 / (1.0 + std::exp((halfway - point.y) / fall));
}

/// Magnitude of a signal with noise in both channels.
double magnitude(double signal, long x, long y, long z, unsigned int seed) {
  constexpr double deviation = 10.0;
  return std::hypot(signal + deviation * voxelNoise(x, y, z, seed),
                    deviation * voxelNoise(x, y, z, ~seed));
}

/// A volume whose voxels are `show` of their positions, with coil sensitivity and noise.
template <class Show>
NiftiVolume acquired(const NmVec3l& dims, unsigned int noiseSeed, const Show& show) {
  const NmBox3f box = chestBox(dims);
  NiftiVolume volume = newVolume(dims, box, NmPrimType::UnsignedShort);
  const NmVec3f spacing = volume.image.volume()->voxelSpacing();
  const NmHandle<VlDataAccess> access = volume.image.volume()->lock(true);
  std::vector<float> row(static_cast<std::size_t>(dims.x));
  for (long z = 0; z < dims.z; ++z)
    for (long y = 0; y < dims.y; ++y) {
      for (long x = 0; x < dims.x; ++x) {
        const NmVec3d point(box.xmin + static_cast<double>(x) * spacing.x,
                            box.ymin + static_cast<double>(y) * spacing.y,
                            box.zmin + static_cast<double>(z) * spacing.z);
        const double signal = 1000.0 * sensitivity(point) * show(point);
        row[static_cast<std::size_t>(x)] =
            static_cast<float>(magnitude(signal, x, y, z, noiseSeed));
      }
      (void)access->putRow(-1, y, z, row.data());
    }
  return volume;
}

}  // namespace

NmBox3f chestBox(const NmVec3l& dims) {
  constexpr double lengths[3] = {352, 352, 176};
  float edge[3];
  for (int a = 0; a < 3; ++a) {
    const double n = static_cast<double>(dims[a]);
    edge[a] = static_cast<float>(0.5 * lengths[a] * (n - 1.0) / n);
  }
  return {-edge[0], edge[0], -edge[1], edge[1], -edge[2], edge[2]};
}

NiftiVolume chestBefore(const ChestPhantom& phantom, const NmVec3l& dims, unsigned int noiseSeed) {
  return acquired(dims, noiseSeed,
                  [&](const NmVec3d& point) { return phantom.signal(point).plain; });
}

NiftiVolume chestAfter(const ChestPhantom& phantom, const ChestMotion& motion, const NmVec3l& dims,
                       unsigned int noiseSeed) {
  return acquired(dims, noiseSeed, [&](const NmVec3d& point) {
    const Signal signal = phantom.signal(motion.origin(point));
    return signal.plain + signal.uptake;
  });
}

}  // namespace host
