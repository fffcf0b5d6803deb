#pragma once

#include "foundation/NmHandle.h"
#include "foundation/VlDataAccess.h"

class VlData;

namespace voxreg::detail {

/// Two volumes under their locks, one to read from and one to write to.
struct VolumePair {
  NmHandle<VlDataAccess> source;
  NmHandle<VlDataAccess> target;

  bool isOpen() const { return source != nullptr && target != nullptr; }
};

/// Waits for both locks, but never while holding one of them against a thread that may do the
/// reverse: threads may copy in both directions between two volumes. Not open, and without a log
/// line, if one of them is not available.
VolumePair lockPair(VlData& source, VlData& target);

}  // namespace voxreg::detail
