#include "elastic/scalarVoxels.h"

#include "foundation/sampling/volumeCore.h"

namespace voxreg::detail {
namespace {

NmHandle<VlDataAccess> asBlock(const NmHandle<VlDataAccess>& access) {
  const bool isBlock = access != nullptr && access->isContiguous() && access->dataPtr(0) != nullptr;
  return isBlock ? access : nullptr;
}

}  // namespace

NmHandle<VlDataAccess> lockScalars(VlData& volume) {
  return volume.numDataVars() == 1 ? asBlock(VolumeCore::lock(volume, false).object) : nullptr;
}

NmHandle<VlDataAccess> tryLockScalars(VlData& volume) {
  return volume.numDataVars() == 1 ? asBlock(volume.tryLock(true)) : nullptr;
}

}  // namespace voxreg::detail
