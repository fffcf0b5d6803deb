#pragma once

#include "workflow/Image.h"

namespace voxreg {

/// The voxels that a search compares: those at which the mask on the same grid is neither 0 nor
/// missing. Empty images: all voxels.
struct Masks {
  Image reference = {};
  Image model = {};
};

}  // namespace voxreg
