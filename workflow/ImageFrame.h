#pragma once

#include <optional>

#include "foundation/NmBox.h"
#include "foundation/NmMat4d.h"
#include "foundation/NmVec.h"
#include "workflow/WorldGrid.h"

namespace voxreg {

/// An image's own frame, in which the library's classes work: millimetres along the image's axes,
/// parted from the world by no more than a linear map (the identity for axes along the world's).
struct ImageFrame {
  NmVec3l dims;
  NmBox3f box;      ///< through the centres of the outermost voxels, in the frame
  NmMat4d toWorld;  ///< frame to world, row vectors

  /// Nothing when the axes do not span the space, or leave what a float can tell.
  static std::optional<ImageFrame> of(const WorldGrid& grid);
};

}  // namespace voxreg
