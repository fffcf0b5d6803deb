#include "foundation/VlData.h"

#include <utility>

#include "foundation/NmLogFile.h"
#include "foundation/sampling/volumeCore.h"
#include "foundation/voxels/voxelHold.h"
#include "foundation/voxels/voxelLock.h"

using voxreg::detail::Outcome;
using voxreg::detail::ThreadIdentity;
using voxreg::detail::VolumeCore;
using voxreg::detail::VoxelLease;
using voxreg::detail::VoxelLock;

namespace {

void tell(const char* operation, const char* reason) {
  if (reason != nullptr) getTheLogInstance().errorf("%s: %s", operation, reason);
}

template <class T>
NmHandle<T> told(const char* operation, const Outcome<T>& outcome) {
  tell(operation, outcome.reason);
  return outcome.object;
}

}  // namespace

VlData::VlData() : lock_(new VoxelLock) {}
VlData::~VlData() {
  delete lock_;
}

NmHandle<VlDataAccess> VlData::lock(bool write) {
  return told("VlData::lock", VolumeCore::lock(*this, write));
}

NmHandle<VlDataAccess> VlData::tryLock(bool write) {
  bool isBusy = false;
  return VolumeCore::tryLock(*this, write, isBusy);
}

NmHandle<VlDataAccess> VlData::open(VoxelLease lease) {
  NmHandle<VlDataAccess> access = openAccess(lease.isForWriting());
  if (access != nullptr) access->keep(new VlDataAccess::Hold(this, std::move(lease)));
  return access;
}

NmResult VlData::range(float& min, float& max, bool /*exact*/) {
  const char* const reason = VolumeCore::findRange(*this, min, max);
  tell("VlData::range", reason);
  return NmResult(reason == nullptr);
}

NmVec3f VlData::voxelSpacing() const {
  const NmVec3l n = dims();
  NmBox3f box;
  boundingBox(box);
  return box.getVoxelSize(
      NmVec3f(static_cast<float>(n.x), static_cast<float>(n.y), static_cast<float>(n.z)));
}

NmHandle<VlEvaluator> VlData::createEvaluator(EvaluatorFilter filter) {
  constexpr const char* operation = "VlData::createEvaluator";
  switch (filter) {
    case NearestNeighbour:
      return told(operation, VolumeCore::makeEvaluator(*this, voxreg::detail::nearestTap));
    case Trilinear:
      return told(operation, VolumeCore::makeEvaluator(*this, voxreg::detail::linearTaps));
  }
  getTheLogInstance().errorf("%s: there is no filter %d", operation, static_cast<int>(filter));
  return nullptr;
}

NmHandle<VlEvaluator> VlData::createEvaluatorLanczos() {
  return told("VlData::createEvaluatorLanczos",
              VolumeCore::makeEvaluator(*this, voxreg::detail::lanczosTaps));
}

VlData::ExclusiveUse::ExclusiveUse(VlData& volume)
    : lock_(*volume.lock_), held_(lock_.acquire(true, false) == VoxelLock::Answer::granted) {}

VlData::ExclusiveUse::~ExclusiveUse() {
  if (held_) lock_.release(ThreadIdentity::current(), true);
}
