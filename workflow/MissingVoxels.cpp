#include "workflow/MissingVoxels.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>
#include <utility>

#include "foundation/NmException.h"
#include "workflow/sampling/voxelSpans.h"

namespace voxreg {

namespace {

template <class T>
bool isMissing(T value) {
  return std::is_floating_point_v<T> && !std::isfinite(static_cast<float>(value));
}

/// Of at least one voxel. Plain comparisons, which compilers vectorise.
template <class T>
std::pair<T, T> extremesOf(std::span<const T> voxels) {
  T smallest = voxels.front();
  T largest = smallest;
  for (const T value : voxels) {
    smallest = value < smallest ? value : smallest;
    largest = value > largest ? value : largest;
  }
  return {smallest, largest};
}

bool canMiss(const Image& volume) {
  return volume.type() == NmPrimType::Float || volume.type() == NmPrimType::Double;
}

}  // namespace

std::optional<ValueRange> finiteRange(const Image& volume) {
  constexpr double infinity = std::numeric_limits<double>::infinity();
  ValueRange range = {infinity, -infinity};
  (void)detail::withVoxels(volume, [&]<class T>(std::span<const T> voxels) {
    if constexpr (std::is_integral_v<T>) {
      const auto [smallest, largest] = extremesOf(voxels);
      range = {static_cast<double>(smallest), static_cast<double>(largest)};
      return;
    }
    for (const auto value : voxels) {
      if (isMissing(value)) continue;
      range.smallest = std::min(range.smallest, static_cast<double>(value));
      range.largest = std::max(range.largest, static_cast<double>(value));
    }
  });
  if (!(range.smallest <= range.largest)) return std::nullopt;
  return range;
}

std::int64_t countMissing(const Image& volume) {
  std::int64_t count = 0;
  if (!canMiss(volume)) return count;
  (void)detail::withVoxels(volume, [&](const auto& voxels) {
    count = std::count_if(voxels.begin(), voxels.end(), [](auto v) { return isMissing(v); });
  });
  return count;
}

Image withMissingFilled(const Image& volume) {
  if (countMissing(volume) == 0) return volume;
  const std::optional<ValueRange> range = finiteRange(volume);
  if (!range) return volume;
  Image filled = Image::allocate(volume.type(), volume.dims(), volume.voxelToWorld());
  const NmHandle<VlDataAccess> access = filled.volume()->lock(true);
  if (access == nullptr) return volume;
  (void)detail::withVoxels(volume, [&]<class T>(std::span<const T> voxels) {
    const auto smallest = static_cast<T>(range->smallest);
    std::transform(voxels.begin(), voxels.end(), static_cast<T*>(access->dataPtr(0)),
                   [&](T value) { return isMissing(value) ? smallest : value; });
  });
  return filled;
}

}  // namespace voxreg
