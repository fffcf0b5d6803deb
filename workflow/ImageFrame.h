#pragma once

#include <optional>

#include "foundation/NmBox.h"
#include "foundation/NmMat4d.h"
#include "foundation/NmVec.h"
#include "workflow/WorldGrid.h"

namespace voxreg {

/// An image's own frame, in which the library's classes work: millimetres along the image's axes.
/// It differs from the world only by a linear map (the identity for axes along the world's).
struct ImageFrame {
  NmVec3l dims;
  NmBox3f box;      ///< through the centres of the outermost voxels, in the frame
  NmMat4d toWorld;  ///< frame to world, row vectors

  /// Nothing if the axes do not span the space, or exceed the range of a float.
  static std::optional<ImageFrame> of(const WorldGrid& grid);
};

}  // namespace voxreg
