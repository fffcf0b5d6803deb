#pragma once

#include "workflow/Image.h"

namespace voxreg::detail {

/// The centre of a volume's box, in the world.
NmVec3d centreOfBox(const Image& volume);

/// The centre of mass, in the world, of the voxels above the background, each with equal weight:
/// those above a tenth of the way from the 1st to the 99th percentile (empirical). The centre of
/// the box if there are none.
NmVec3d centreOfMass(const Image& volume);

}  // namespace voxreg::detail
