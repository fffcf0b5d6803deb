#include "foundation/sampling/voxelBlock.h"

#include "foundation/sampling/volumeCore.h"

namespace voxreg::detail {
namespace {

/// Interleaved data variables are not one block of values.
VoxelBlock scalarsOf(const VlData& volume, const NmHandle<VlDataAccess>& access) {
  const bool isBlock = volume.numDataVars() == 1 && blockOf(access.get()) != nullptr;
  return {isBlock ? access : nullptr, volume.primType()};
}

}  // namespace

void* blockOf(const VlDataAccess* access) {
  return access != nullptr && access->isContiguous() ? access->dataPtr(0) : nullptr;
}

VoxelBlock VoxelBlock::lock(VlData& volume) {
  return scalarsOf(volume, VolumeCore::lock(volume, false).object);
}

VoxelBlock VoxelBlock::tryLockForWriting(VlData& volume) {
  return scalarsOf(volume, volume.tryLock(true));
}

}  // namespace voxreg::detail
