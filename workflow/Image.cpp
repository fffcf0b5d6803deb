#include "workflow/Image.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <optional>

#include "foundation/NmException.h"
#include "foundation/voxels/voxelTypes.h"

namespace voxreg {

namespace {

bool isGeometry(const NmVec3l& dims, const NmMat4d& matrix) {
  for (int a = 0; a < 3; ++a)
    if (dims[a] < 1 || dims[a] > std::numeric_limits<int>::max() || matrix.m[a][3] != 0.0)
      return false;
  return matrix.m[3][3] == 1.0 && std::all_of(matrix.m[0], matrix.m[0] + 16, [](double element) {
           return std::isfinite(element);
         });
}

std::size_t bytesOf(const Image& image) {
  const NmVec3l& dims = image.dims();
  return static_cast<std::size_t>(dims.x) * static_cast<std::size_t>(dims.y) *
         static_cast<std::size_t>(dims.z) *
         static_cast<std::size_t>(NmPrimType::primTypeSize[image.type()]);
}

}  // namespace

/// Has no voxels yet; empty if the geometry is not valid.
Image Image::placed(NmPrimType type, const NmVec3l& dims, const NmMat4d& voxelToWorld) {
  Image image;
  if (!isGeometry(dims, voxelToWorld) || !detail::isServedVoxelType(type)) return image;
  const WorldGrid grid(dims, voxelToWorld);
  const std::optional<ImageFrame> frame = ImageFrame::of(grid);
  if (!frame) return image;
  image.frame_ = *frame;
  image.voxelToWorld_ = grid.voxelToWorld();
  image.volume_ = new VlMemoryData(nullptr);
  return image;
}

bool Image::findVoxels() {
  if (!volume_->setBoundingBox(frame_.box).isOk()) return false;
  const NmHandle<VlDataAccess> access = volume_->lock(false);
  if (access == nullptr) return false;
  voxels_ = access->dataPtr(0);
  return true;
}

Image Image::wrap(NmPrimType type, const void* voxels, const NmVec3l& dims,
                  const NmMat4d& voxelToWorld) {
  if (voxels == nullptr) return {};
  Image image = placed(type, dims, voxelToWorld);
  const bool wrapped = image && image.volume_->initShared(dims, type, 1, voxels).isOk();
  return wrapped && image.findVoxels() ? image : Image();
}

Image Image::allocate(NmPrimType type, const NmVec3l& dims, const NmMat4d& voxelToWorld) {
  Image image = placed(type, dims, voxelToWorld);
  if (!image) return image;
  if (!image.volume_->init(dims, type, 1, true, true, true).isOk() || !image.findVoxels())
    throw NmMemoryException();
  return image;
}

Image Image::copy(NmPrimType type, const void* voxels, const NmVec3l& dims,
                  const NmMat4d& voxelToWorld) {
  if (voxels == nullptr) return {};
  Image image = allocate(type, dims, voxelToWorld);
  if (image) std::memcpy(image.volume_->lock(true)->dataPtr(0), voxels, bytesOf(image));
  return image;
}

}  // namespace voxreg
