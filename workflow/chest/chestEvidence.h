#pragma once

#include <string>

#include "foundation/VlData.h"
#include "workflow/ChestMask.h"
#include "workflow/chest/bodyAxes.h"

namespace voxreg::detail {

/// What is inside the wall that placed a mask. Lengths are in millimetres.
struct ChestEvidence {
  /// Share of the masked part in axial planes of which each lung fills a tenth.
  double lungShare = 0.0;
  double lungWidth = 0.0;  ///< from the outer side of one lung to that of the other
  double wallDepth = 0.0;  ///< from the mask's front to the lungs, halfway up the volume; a median
};

/// Looks for two lungs.
ChestEvidence chestEvidence(VlData& volume, const BodyAxes& body, const ChestMask& mask);

/// Whether a volume shows the chest that a mask is meant for, and why, in a few words.
struct ChestVerdict {
  bool isChest;
  std::string reason;
};

/// Heads, abdomens and limbs have no lungs behind the supposed wall, and a mask placed far in front
/// of the lungs would cover tissue that is to be registered.
ChestVerdict judgeChest(const ChestEvidence& evidence);

}  // namespace voxreg::detail
