#pragma once

#include "workflow/Image.h"

namespace voxreg::detail {

/// A volume in the form that the elastic pipeline takes: unsigned short. Physical values of the
/// pipeline are raw * rescale.x + rescale.y, and equal those of the original times `unit`. They are
/// compared as integers, so `unit` enlarges a narrow range of real numbers.
struct ShortVolume {
  NmHandle<VlData> data;
  NmVec2f rescale{1.0f, 0.0f};
  float unit = 1.0f;
};

/// The volume itself if it has that type, otherwise a copy: with the same values if a shift brings
/// them into 16 bits, otherwise in 65535 steps from the smallest to the largest. Throws
/// NmMemoryException.
ShortVolume asUnsignedShort(const Image& volume);

}  // namespace voxreg::detail
