#pragma once

#include <cstddef>
#include <span>

#include "foundation/voxels/voxelTypes.h"
#include "workflow/Image.h"

namespace voxreg::detail {

/// Calls `f(voxels)` with all voxels of an image, x fastest, as a span of their type. Returns false
/// without a call if the image is empty or cannot be read.
template <class F>
bool withVoxels(const Image& image, F&& f) {
  if (!image) return false;
  const NmHandle<VlDataAccess> access = image.volume()->lock(false);
  if (access == nullptr) return false;
  const NmVec3l& dims = image.dims();
  return withVoxelType(image.type(), [&]<class T>() {
    f(std::span<const T>(static_cast<const T*>(access->dataPtr(0)),
                         static_cast<std::size_t>(dims.x * dims.y * dims.z)));
  });
}

}  // namespace voxreg::detail
