#pragma once

#include <functional>
#include <initializer_list>
#include <vector>

#include "foundation/NmDArray.h"
#include "foundation/NmHandle.h"
#include "foundation/VlMemoryData.h"

using Volumes = NmDArray<NmHandle<VlData>>;
using Field = std::function<double(double, double, double)>;

inline Volumes listOf(std::initializer_list<NmHandle<VlData>> handles) {
  Volumes volumes;
  for (const NmHandle<VlData>& handle : handles) volumes.insert(volumes.size, 1, &handle);
  return volumes;
}

/// A zeroed volume of the given shape.
inline NmHandle<VlMemoryData> makeVolume(const NmVec3l& dims, NmPrimType type,
                                         int numDataVars = 1) {
  NmHandle<VlMemoryData> volume = new VlMemoryData(nullptr);
  if (!volume->init(dims, type, numDataVars, true, true, true).isOk()) volume = nullptr;
  return volume;
}

/// A volume of unit voxels from the origin on, with the values of `field` at their centres.
inline NmHandle<VlMemoryData> makeVolume(const NmVec3l& dims, const Field& field,
                                         NmPrimType type = NmPrimType::Float) {
  const NmHandle<VlMemoryData> volume = makeVolume(dims, type);
  const NmHandle<VlDataAccess> access = volume->lock(true);
  std::vector<float> row(static_cast<unsigned long>(dims.x));
  for (long z = 0; z < dims.z; ++z)
    for (long y = 0; y < dims.y; ++y) {
      double x = 0;
      for (float& value : row)
        value = static_cast<float>(field(x++, static_cast<double>(y), static_cast<double>(z)));
      access->putRow(-1, y, z, row.data());
    }
  return volume;
}

/// A volume over the host's voxels, which outlive it.
inline NmHandle<VlMemoryData> wrapVolume(const NmVec3l& dims, NmPrimType type, int numDataVars,
                                         void* voxels) {
  NmHandle<VlMemoryData> volume = new VlMemoryData(nullptr);
  if (!volume->initShared(dims, type, numDataVars, voxels).isOk()) volume = nullptr;
  return volume;
}
