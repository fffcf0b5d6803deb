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

/// Waits for both locks, but never with one of them in hand for a thread that may do the reverse:
/// threads may copy to and fro between two volumes. Not open, and without a line, where one of them
/// is not to be had.
VolumePair lockPair(VlData& source, VlData& target);

}  // namespace voxreg::detail
