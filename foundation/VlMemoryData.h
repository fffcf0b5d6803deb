#pragma once

#include "foundation/VlData.h"
#include "foundation/VlMeta.h"

namespace voxreg::detail {
struct VoxelGrid;
}  // namespace voxreg::detail

/// A volume whose voxels are in one block of memory, its own or the host's. It starts without
/// voxels; init and initShared set them, and may be called again while nobody holds a lock. They
/// fail, with the volume unchanged, for a dimension or number of data variables below 1, a
/// dimension above 2^31 - 1, a block whose size in bytes is not representable, an unsupported type,
/// a locked volume, or if memory is exhausted. A new volume's bounding box runs from 0 to n - 1 on
/// each axis, and from 0 to 1 for one voxel.
class VlMemoryData : public VlData {
 public:
  /// `meta` is read only during the call and may be null.
  explicit VlMemoryData(const VlMeta* meta);
  ~VlMemoryData() override;

  /// Allocates zeroed voxels. The three flags are ignored.
  NmResult init(const NmVec3l& dims, NmPrimType type, int numDataVars, bool, bool, bool);

  /// Wraps voxels that the host owns and keeps alive, without a copy. Fails for null, or an address
  /// that is not a multiple of the type's size. Constant voxels are never written: the volume
  /// cannot be locked for writing.
  NmResult initShared(const NmVec3l& dims, NmPrimType type, int numDataVars, void* voxels);
  NmResult initShared(const NmVec3l& dims, NmPrimType type, int numDataVars, const void* voxels);

  NmPrimType primType() const override { return type_; }
  int numDataVars() const override { return numDataVars_; }
  NmVec3l dims() const override { return dims_; }
  void boundingBox(NmBox3f& box) const override { box = box_; }
  NmResult setBoundingBox(const NmBox3f& box) override;

 protected:
  NmHandle<VlDataAccess> openAccess(bool write) override;

 private:
  friend struct voxreg::detail::VolumeCore;

  enum class Holding { own, shared, sharedReadOnly };

  NmResult share(const voxreg::detail::VoxelGrid& grid, void* voxels, Holding holding);
  void adopt(const voxreg::detail::VoxelGrid& grid, void* voxels, Holding holding);
  void freeVoxels();

  NmVec3l dims_;
  NmPrimType type_;
  int numDataVars_ = 0;
  NmBox3f box_;
  void* voxels_ = nullptr;
  Holding holding_ = Holding::own;
};
