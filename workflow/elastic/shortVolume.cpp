#include "workflow/elastic/shortVolume.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "workflow/Intensity.h"

namespace voxreg::detail {

namespace {

constexpr float mostSteps = 65535.0f;

/// A power of ten that scales a range to at least a thousand integers.
float unitFor(float range) {
  constexpr float enough = 1000.0f;
  const bool narrow = range > 0.0f && range < enough;
  return narrow ? std::pow(10.0f, std::ceil(std::log10(enough / range))) : 1.0f;
}

/// How the values from `low` to `high` are stored.
ShortVolume storageFor(bool integers, float low, float high) {
  ShortVolume storage;
  const float range = high - low;
  if (integers && range <= mostSteps) {
    storage.rescale.y = low >= 0.0f && high <= mostSteps ? 0.0f : low;
    return storage;
  }
  storage.unit = integers ? 1.0f : unitFor(range);
  if (range > 0.0f) storage.rescale.x = storage.unit * range / mostSteps;
  storage.rescale.y = storage.unit * low;
  return storage;
}

}  // namespace

ShortVolume asUnsignedShort(const Image& volume) {
  const int type = volume.volume()->primType();
  if (type == NmPrimType::UnsignedShort) return {volume.volume()};
  float low = 0.0f;
  float high = 0.0f;
  (void)volume.volume()->range(low, high, true);
  const bool integers = type != NmPrimType::Float && type != NmPrimType::Double;
  ShortVolume result = storageFor(integers, low, high);
  const Image copy =
      Image::allocate(NmPrimType::UnsignedShort, volume.dims(), volume.voxelToWorld());
  const float slope = result.unit / result.rescale.x;
  const float shift = result.rescale.y / result.rescale.x;
  const auto nx = static_cast<std::size_t>(volume.dims().x);
  std::vector<float> raw(nx);
  const NmHandle<VlDataAccess> access = copy.volume()->lock(true);
  (void)forEachRow(*volume.volume(), [&](std::int64_t y, std::int64_t z, const float* row) {
    std::transform(row, row + nx, raw.begin(), [&](float v) { return v * slope - shift; });
    (void)access->putRow(-1, y, z, raw.data());
  });
  result.data = copy.volume();
  return result;
}

}  // namespace voxreg::detail
