#include "foundation/sampling/volumeCore.h"

#include <utility>

#include "foundation/sampling/gridEvaluator.h"
#include "foundation/voxels/volumeFrame.h"
#include "foundation/voxels/voxelLock.h"
#include "foundation/voxels/voxelRange.h"

namespace voxreg::detail {
namespace {

VoxelGrid gridOf(const VlData& volume) {
  return {volume.dims(), volume.numDataVars(), volume.primType()};
}

}  // namespace

Outcome<VlDataAccess> VolumeCore::lock(VlData& volume, bool write) {
  VoxelLease lease(*volume.lock_, write, true);
  if (!lease.isGranted()) return {nullptr, "this thread's own lock on the volume is in the way"};
  const NmHandle<VlDataAccess> access = volume.open(std::move(lease));
  if (access != nullptr) return {access};
  return {nullptr, write ? "the volume has no voxels to write to" : "the volume has no voxels"};
}

NmHandle<VlDataAccess> VolumeCore::tryLock(VlData& volume, bool write, bool& isBusy) {
  VoxelLease lease(*volume.lock_, write, false);
  isBusy = lease.isBusy();
  return lease.isGranted() ? volume.open(std::move(lease)) : nullptr;
}

Outcome<VlEvaluator> VolumeCore::makeEvaluator(VlData& volume, TapRule rule) {
  const Outcome<VlDataAccess> access = lock(volume, false);
  if (access.reason != nullptr) return {nullptr, access.reason};
  const NmHandle<VlEvaluator> evaluator =
      makeGridEvaluator(access.object, gridOf(volume), boxOf(volume), rule);
  if (evaluator == nullptr) return {nullptr, "the voxels are not in one block of a supported type"};
  return {evaluator};
}

const char* VolumeCore::findRange(VlData& volume, float& min, float& max) {
  min = 0.0f;
  max = 0.0f;
  const Outcome<VlDataAccess> access = lock(volume, false);
  if (access.reason != nullptr) return access.reason;
  const bool found = findVoxelRange(*access.object, gridOf(volume), min, max);
  return found ? nullptr : "the volume holds no number";
}

}  // namespace voxreg::detail
