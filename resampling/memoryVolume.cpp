#include "resampling/memoryVolume.h"

#include "foundation/NmException.h"
#include "foundation/sampling/volumeCore.h"

namespace voxreg::detail {

NmHandle<VlMemoryData> makeMemoryVolume(const NmVec3l& dims, NmPrimType type, int numDataVars) {
  try {
    const VlMeta meta(false, true);
    NmHandle<VlMemoryData> volume = new VlMemoryData(&meta);
    if (VolumeCore::allocate(*volume, {dims, numDataVars, type}) == nullptr) return volume;
  } catch (const NmMemoryException&) {  // NOLINT(bugprone-empty-catch): no volume is the answer
  }
  return nullptr;
}

}  // namespace voxreg::detail
