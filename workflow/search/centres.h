#pragma once

#include "workflow/Image.h"

namespace voxreg::detail {

/// The middle of a volume's box, in the world.
NmVec3d centreOfBox(const Image& volume);

/// The centre of the voxels that rise above the background, each counting alike, in the world:
/// those above a tenth of the way from the 1st to the 99th percentile. The middle of the box where
/// none does.
NmVec3d centreOfMass(const Image& volume);

}  // namespace voxreg::detail
