#pragma once

#include <type_traits>

#include "foundation/NmHandle.h"
#include "foundation/NmMat4d.h"
#include "foundation/NmPrimType.h"
#include "foundation/VlMemoryData.h"
#include "workflow/ImageFrame.h"
#include "workflow/WorldGrid.h"

namespace voxreg {

/// The voxel type code of a C++ type.
template <class T>
constexpr NmPrimType::Value voxelTypeOf() {
  if constexpr (std::is_same_v<T, unsigned char>) return NmPrimType::UnsignedChar;
  if constexpr (std::is_same_v<T, short>) return NmPrimType::Short;
  if constexpr (std::is_same_v<T, unsigned short>) return NmPrimType::UnsignedShort;
  if constexpr (std::is_same_v<T, int>) return NmPrimType::Int;
  if constexpr (std::is_same_v<T, float>) return NmPrimType::Float;
  if constexpr (std::is_same_v<T, double>) return NmPrimType::Double;
  static_assert(std::is_same_v<T, unsigned char> || std::is_same_v<T, short> ||
                    std::is_same_v<T, unsigned short> || std::is_same_v<T, int> ||
                    std::is_same_v<T, float> || std::is_same_v<T, double>,
                "voxels are unsigned char, short, unsigned short, int, float or double");
}

/// A volumetric image in the world: voxels of one number each, x fastest, and a matrix that gives
/// their positions. Copies share the voxels; the last copy frees their memory.
///
/// `voxelToWorld` is a matrix for row vectors: (i, j, k, 1) * voxelToWorld is the centre of voxel
/// (i, j, k) in world millimetres, with the translation in the fourth row (the transpose of the
/// matrix in a NIfTI header). Axes may be oblique, sheared and reflected. Dimensions below 1 or
/// above 2^31 - 1, a matrix that is not finite, has projective terms or no inverse, an unsupported
/// type, and voxels that are null or misaligned give an empty image.
class Image {
 public:
  /// Empty: converts to false, and has no voxels.
  Image() = default;

  /// Wraps voxels that the host owns and keeps alive, without a copy. They are never written.
  template <class T>
  static Image wrap(const T* voxels, const NmVec3l& dims, const NmMat4d& voxelToWorld) {
    return wrap(voxelTypeOf<T>(), voxels, dims, voxelToWorld);
  }
  static Image wrap(NmPrimType type, const void* voxels, const NmVec3l& dims,
                    const NmMat4d& voxelToWorld);

  /// Copies voxels. Throws NmMemoryException.
  template <class T>
  static Image copy(const T* voxels, const NmVec3l& dims, const NmMat4d& voxelToWorld) {
    return copy(voxelTypeOf<T>(), voxels, dims, voxelToWorld);
  }
  static Image copy(NmPrimType type, const void* voxels, const NmVec3l& dims,
                    const NmMat4d& voxelToWorld);

  /// Voxels of 0, to be written through a lock of `volume`. Throws NmMemoryException.
  static Image allocate(NmPrimType type, const NmVec3l& dims, const NmMat4d& voxelToWorld);

  explicit operator bool() const { return volume_ != nullptr; }

  /// For an empty image: no voxels, unsigned char, null, and the identity.
  const NmVec3l& dims() const { return frame_.dims; }
  NmPrimType type() const { return volume_ != nullptr ? volume_->primType() : NmPrimType(); }
  const void* voxels() const { return voxels_; }
  const NmMat4d& voxelToWorld() const { return voxelToWorld_; }

  /// Null if the voxels are of another type.
  template <class T>
  const T* voxelsAs() const {
    return type() == voxelTypeOf<T>() ? static_cast<const T*>(voxels_) : nullptr;
  }

  WorldGrid grid() const { return {dims(), voxelToWorld_}; }

  /// Access to the library's classes, which work in the image's own frame.
  const ImageFrame& frame() const { return frame_; }
  const NmHandle<VlMemoryData>& volume() const { return volume_; }

 private:
  static Image placed(NmPrimType type, const NmVec3l& dims, const NmMat4d& voxelToWorld);
  bool findVoxels();

  NmHandle<VlMemoryData> volume_;
  ImageFrame frame_;
  NmMat4d voxelToWorld_;
  const void* voxels_ = nullptr;
};

}  // namespace voxreg
