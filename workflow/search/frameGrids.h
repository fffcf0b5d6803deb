#pragma once

#include "workflow/BrickGrid.h"
#include "workflow/Image.h"

namespace voxreg::detail {

/// Converts a result of the library, with its box and vertices in the images' own frames, to the
/// world.
BrickGrid bricksInWorld(const BrickGrid::Grid& frames, const Image& reference, const Image& model,
                        BrickGrid::Beyond beyond = BrickGrid::Beyond::bricks);

/// The map of a matrix from model world to reference world on a single brick around the reference,
/// as a start for the library: from frame to frame.
BrickGrid::Grid startGrid(const NmMat4d& modelToReference, const Image& reference,
                          const Image& model);

}  // namespace voxreg::detail
