#include "foundation/sampling/voxelBlock.h"

#include "foundation/sampling/volumeCore.h"

namespace voxreg::detail {
namespace {

VoxelBlock blockBehind(const VlData& volume, const NmHandle<VlDataAccess>& access) {
  return {blockOf(access.get()) != nullptr ? access : nullptr, volume.primType()};
}

}  // namespace

void* blockOf(const VlDataAccess* access) {
  return access != nullptr && access->isContiguous() ? access->dataPtr(0) : nullptr;
}

// Interleaved data variables are not one block of values, so there is nothing to wait for.
VoxelBlock VoxelBlock::lock(VlData& volume) {
  if (volume.numDataVars() != 1) return {nullptr, volume.primType()};
  return blockBehind(volume, VolumeCore::lock(volume, false).object);
}

VoxelBlock VoxelBlock::tryLockForWriting(VlData& volume) {
  if (volume.numDataVars() != 1) return {nullptr, volume.primType()};
  return blockBehind(volume, volume.tryLock(true));
}

}  // namespace voxreg::detail
