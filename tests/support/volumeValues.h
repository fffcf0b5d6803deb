#pragma once

#include <vector>

#include "tests/support/volumes.h"

/// All values of a volume as floats, in memory order.
inline std::vector<float> valuesOf(VlData& volume) {
  const NmVec3l n = volume.dims();
  const long row = n.x * volume.numDataVars();
  std::vector<float> values(static_cast<std::size_t>(row * n.y * n.z));
  const NmHandle<VlDataAccess> access = volume.lock(false);
  for (long z = 0; z < n.z; ++z)
    for (long y = 0; y < n.y; ++y) access->row(-1, y, z, values.data() + (z * n.y + y) * row);
  return values;
}

/// A volume with the given values in memory order.
inline NmHandle<VlMemoryData> volumeOf(const NmVec3l& dims, NmPrimType type, int numDataVars,
                                       const std::vector<float>& values) {
  const NmHandle<VlMemoryData> volume = makeVolume(dims, type, numDataVars);
  const NmHandle<VlDataAccess> access = volume->lock(true);
  for (long z = 0; z < dims.z; ++z)
    for (long y = 0; y < dims.y; ++y)
      access->putRow(-1, y, z, values.data() + (z * dims.y + y) * dims.x * numDataVars);
  return volume;
}

template <class F>
std::vector<float> generate(long n, F&& f) {
  std::vector<float> values;
  for (long i = 0; i < n; ++i) values.push_back(static_cast<float>(f(i)));
  return values;
}

inline bool isUnlocked(VlData* volume) {
  return volume->tryLock(true) != nullptr;
}
