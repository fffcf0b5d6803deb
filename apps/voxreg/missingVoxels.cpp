#include "missingVoxels.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "voxelTypes.h"

namespace host {

namespace {

template <class T>
bool isMissing(T value) {
  return std::is_floating_point_v<T> && !std::isfinite(static_cast<float>(value));
}

}  // namespace

std::optional<ValueRange> finiteRange(const NiftiVolume& volume) {
  constexpr double infinity = std::numeric_limits<double>::infinity();
  ValueRange range = {infinity, -infinity};
  withVoxels(*volume.data, [&](const auto& voxels) {
    for (const auto value : voxels) {
      if (isMissing(value)) continue;
      range.smallest = std::min(range.smallest, static_cast<double>(value));
      range.largest = std::max(range.largest, static_cast<double>(value));
    }
  });
  if (!(range.smallest <= range.largest)) return std::nullopt;
  return range;
}

long countMissing(const NiftiVolume& volume) {
  long count = 0;
  withVoxels(*volume.data, [&](const auto& voxels) {
    count = std::count_if(voxels.begin(), voxels.end(), [](auto v) { return isMissing(v); });
  });
  return count;
}

NiftiVolume withMissingFilled(const NiftiVolume& volume) {
  const std::optional<ValueRange> range = finiteRange(volume);
  if (!range || countMissing(volume) == 0) return volume;
  NiftiVolume filled = volumeLike(volume, volume.data->primType());
  const NmHandle<VlDataAccess> access = filled.data->lock(true);
  if (access == nullptr) throw HostError("a volume cannot be locked", HostError::failedRun);
  withVoxels(*volume.data, [&]<class T>(std::span<const T> voxels) {
    const auto smallest = static_cast<T>(range->smallest);
    std::transform(voxels.begin(), voxels.end(), static_cast<T*>(access->dataPtr(0)),
                   [&](T value) { return isMissing(value) ? smallest : value; });
  });
  return filled;
}

}  // namespace host
