#pragma once

#include "workflow/Image.h"

namespace voxreg::detail {

/// A volume as the elastic pipeline takes it: unsigned short. Physical values of the pipeline are
/// raw * rescale.x + rescale.y, and those of the original times `unit`; they are compared as whole
/// numbers, so that `unit` enlarges a narrow range of real numbers.
struct ShortVolume {
  NmHandle<VlData> data;
  NmVec2f rescale{1.0f, 0.0f};
  float unit = 1.0f;
};

/// The volume itself where it is of that type, otherwise a copy: of the same values where a shift
/// brings them into 16 bits, of 65535 steps from the smallest to the largest where not. Throws
/// NmMemoryException.
ShortVolume asUnsignedShort(const Image& volume);

}  // namespace voxreg::detail
