#pragma once

#include "foundation/NmHandle.h"
#include "foundation/VlMemoryData.h"

/// A zeroed volume of the given shape.
inline NmHandle<VlMemoryData> makeVolume(const NmVec3l& dims, NmPrimType type,
                                         int numDataVars = 1) {
  NmHandle<VlMemoryData> volume = new VlMemoryData(nullptr);
  if (!volume->init(dims, type, numDataVars, true, true, true).isOk()) volume = nullptr;
  return volume;
}

/// A volume over the host's voxels, which outlive it.
inline NmHandle<VlMemoryData> wrapVolume(const NmVec3l& dims, NmPrimType type, int numDataVars,
                                         void* voxels) {
  NmHandle<VlMemoryData> volume = new VlMemoryData(nullptr);
  if (!volume->initShared(dims, type, numDataVars, voxels).isOk()) volume = nullptr;
  return volume;
}
