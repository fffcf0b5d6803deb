#include "foundation/sampling/volumePair.h"

#include <functional>

#include "foundation/sampling/volumeCore.h"

namespace voxreg::detail {
namespace {

/// Waits for the volume at the lower address first, as everyone does who waits while holding a
/// lock.
VolumePair lockInOrder(VlData& source, VlData& target) {
  VolumePair pair;
  const auto lockSource = [&] { pair.source = VolumeCore::lock(source, false).object; };
  const auto lockTarget = [&] { pair.target = VolumeCore::lock(target, true).object; };
  if (std::less<>()(&source, &target)) {
    lockSource();
    if (pair.source != nullptr) lockTarget();
  } else {
    lockTarget();
    if (pair.target != nullptr) lockSource();
  }
  return pair;
}

}  // namespace

// Conflicts with the thread's own locks show at the first attempt, whatever the addresses are.
VolumePair lockPair(VlData& source, VlData& target) {
  VolumePair pair;
  pair.source = VolumeCore::lock(source, false).object;
  if (pair.source == nullptr) return pair;
  bool isBusy = false;
  pair.target = VolumeCore::tryLock(target, true, isBusy);
  if (!isBusy) return pair;
  pair.source = nullptr;
  return lockInOrder(source, target);
}

}  // namespace voxreg::detail
