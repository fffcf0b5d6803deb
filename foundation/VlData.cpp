#include "foundation/VlData.h"

#include <utility>

#include "foundation/NmLogFile.h"
#include "foundation/axisTaps.h"
#include "foundation/gridEvaluator.h"
#include "foundation/silently.h"
#include "foundation/voxelHold.h"
#include "foundation/voxelLock.h"
#include "foundation/voxelRange.h"

using voxreg::detail::TapRule;
using voxreg::detail::ThreadIdentity;
using voxreg::detail::VoxelGrid;
using voxreg::detail::VoxelLease;
using voxreg::detail::VoxelLock;

namespace {

VoxelGrid gridOf(const VlData& volume) {
  return {volume.dims(), volume.numDataVars(), volume.primType()};
}

NmHandle<VlEvaluator> makeEvaluator(const char* operation, const VlData& volume,
                                    const NmHandle<VlDataAccess>& access, TapRule rule) {
  if (access == nullptr) return nullptr;
  NmBox3f box;
  volume.boundingBox(box);
  NmHandle<VlEvaluator> evaluator =
      voxreg::detail::makeGridEvaluator(access, gridOf(volume), box, rule);
  if (evaluator == nullptr)
    getTheLogInstance().errorf("%s: the voxels are not in one block of a served type", operation);
  return evaluator;
}

}  // namespace

VlData::VlData() : lock_(new VoxelLock) {}
VlData::~VlData() {
  delete lock_;
}

NmHandle<VlDataAccess> VlData::lock(bool write) {
  return lockFor("VlData::lock", write);
}

NmHandle<VlDataAccess> VlData::tryLock(bool write) {
  VoxelLease lease(*lock_, write, false);
  if (!lease.isGranted()) return nullptr;
  return open(std::move(lease));
}

NmHandle<VlDataAccess> VlData::lockFor(const char* operation, bool write) {
  NmHandle<VlDataAccess> access;
  const char* reason = "this thread's own lock on the volume is in the way";
  VoxelLease lease(*lock_, write, true);
  if (lease.isGranted()) {
    access = open(std::move(lease));
    reason = "the volume has no voxels to give access to";
  }
  if (access == nullptr && operation != nullptr)
    getTheLogInstance().errorf("%s: %s", operation, reason);
  return access;
}

NmHandle<VlDataAccess> voxreg::detail::lockSilently(VlData& volume, bool write) {
  return volume.lockFor(nullptr, write);
}

NmHandle<VlDataAccess> VlData::open(VoxelLease lease) {
  NmHandle<VlDataAccess> access = openAccess(lease.isForWriting());
  if (access != nullptr) access->keep(new VlDataAccess::Hold(this, std::move(lease)));
  return access;
}

NmResult VlData::range(float& min, float& max, bool /*exact*/) {
  min = 0.0f;
  max = 0.0f;
  const NmHandle<VlDataAccess> access = lockFor("VlData::range", false);
  if (access == nullptr) return NmResult(false);
  const bool found = voxreg::detail::findVoxelRange(*access, gridOf(*this), min, max);
  if (!found) getTheLogInstance().errorf("VlData::range: the volume holds no number");
  return NmResult(found);
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
      return makeEvaluator(operation, *this, lockFor(operation, false), voxreg::detail::nearestTap);
    case Trilinear:
      return makeEvaluator(operation, *this, lockFor(operation, false), voxreg::detail::linearTaps);
  }
  getTheLogInstance().errorf("%s: there is no filter %d", operation, static_cast<int>(filter));
  return nullptr;
}

NmHandle<VlEvaluator> VlData::createEvaluatorLanczos() {
  constexpr const char* operation = "VlData::createEvaluatorLanczos";
  return makeEvaluator(operation, *this, lockFor(operation, false), voxreg::detail::lanczosTaps);
}

VlData::ExclusiveUse::ExclusiveUse(VlData& volume)
    : lock_(*volume.lock_), held_(lock_.acquire(true, false) == VoxelLock::Answer::granted) {}

VlData::ExclusiveUse::~ExclusiveUse() {
  if (held_) lock_.release(ThreadIdentity::current(), true);
}
