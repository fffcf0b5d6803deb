#include "foundation/VlMemoryData.h"

#include <cmath>
#include <cstdint>
#include <cstring>

#include "foundation/NmException.h"
#include "foundation/NmLogFile.h"
#include "foundation/sampling/volumeCore.h"
#include "foundation/voxels/memoryAccess.h"
#include "foundation/voxels/voxelTypes.h"

using voxreg::detail::VolumeCore;
using voxreg::detail::VoxelGrid;

namespace {

constexpr std::int64_t largestDimension = 2147483647;
constexpr const char* noSuchVolume = "there is no volume of such a shape or type";
constexpr const char* volumeIsLocked = "the volume is locked";

float defaultMaximum(std::int64_t n) {
  return n == 1 ? 1.0f : static_cast<float>(n - 1);
}

bool isServed(const VoxelGrid& grid) {
  const NmVec3l& n = grid.dims;
  return n.x <= largestDimension && n.y <= largestDimension && n.z <= largestDimension &&
         grid.numValues() > 0 && voxreg::detail::isServedVoxelType(grid.type);
}

std::size_t voxelBytes(const VoxelGrid& grid) {
  return static_cast<std::size_t>(NmPrimType::primTypeSize[grid.type]);
}

bool isAligned(const void* voxels, const VoxelGrid& grid) {
  return reinterpret_cast<std::uintptr_t>(voxels) % voxelBytes(grid) == 0;
}

/// Null if memory is exhausted.
void* allocateZeroed(std::size_t bytes) {
  try {
    return std::memset(nmmalloc(bytes), 0, bytes);
  } catch (const NmMemoryException&) {
    return nullptr;
  }
}

NmResult refuse(const char* operation, const char* reason) {
  getTheLogInstance().errorf("%s: %s", operation, reason);
  return NmResult(false);
}

}  // namespace

VlMemoryData::VlMemoryData(const VlMeta* /*meta*/) {}
VlMemoryData::~VlMemoryData() {
  freeVoxels();
}

NmResult VlMemoryData::init(const NmVec3l& dims, NmPrimType type, int numDataVars, bool, bool,
                            bool) {
  const char* const reason = VolumeCore::allocate(*this, {dims, numDataVars, type});
  return reason == nullptr ? NmResult() : refuse("VlMemoryData::init", reason);
}

const char* VolumeCore::allocate(VlMemoryData& volume, const VoxelGrid& grid) {
  if (!isServed(grid)) return noSuchVolume;
  const VlMemoryData::ExclusiveUse use(volume);
  if (!use.isHeld()) return volumeIsLocked;
  void* const voxels =
      allocateZeroed(static_cast<std::size_t>(grid.numValues()) * voxelBytes(grid));
  if (voxels == nullptr) return "memory is exhausted";
  volume.adopt(grid, voxels, VlMemoryData::Holding::own);
  return nullptr;
}

NmResult VlMemoryData::initShared(const NmVec3l& dims, NmPrimType type, int numDataVars,
                                  void* voxels) {
  return share({dims, numDataVars, type}, voxels, Holding::shared);
}

NmResult VlMemoryData::initShared(const NmVec3l& dims, NmPrimType type, int numDataVars,
                                  const void* voxels) {
  // An access for reading returns the same kind of pointer as one for writing.
  return share({dims, numDataVars, type}, const_cast<void*>(voxels), Holding::sharedReadOnly);
}

NmResult VlMemoryData::share(const VoxelGrid& grid, void* voxels, Holding holding) {
  constexpr const char* operation = "VlMemoryData::initShared";
  if (!isServed(grid)) return refuse(operation, noSuchVolume);
  if (voxels == nullptr) return refuse(operation, "there are no voxels");
  if (!isAligned(voxels, grid))
    return refuse(operation, "the voxels are not aligned to their size");
  const ExclusiveUse use(*this);
  if (!use.isHeld()) return refuse(operation, volumeIsLocked);
  adopt(grid, voxels, holding);
  return NmResult();
}

void VlMemoryData::adopt(const VoxelGrid& grid, void* voxels, Holding holding) {
  freeVoxels();
  dims_ = grid.dims;
  type_ = grid.type;
  numDataVars_ = grid.numDataVars;
  box_ = NmBox3f(0.0f, defaultMaximum(dims_.x), 0.0f, defaultMaximum(dims_.y), 0.0f,
                 defaultMaximum(dims_.z));
  voxels_ = voxels;
  holding_ = holding;
}

void VlMemoryData::freeVoxels() {
  if (holding_ == Holding::own) nmfree(voxels_);
}

NmResult VlMemoryData::setBoundingBox(const NmBox3f& box) {
  const char* const reason = VolumeCore::setBoundingBox(*this, box);
  return reason == nullptr ? NmResult() : refuse("VlMemoryData::setBoundingBox", reason);
}

const char* VolumeCore::setBoundingBox(VlMemoryData& volume, const NmBox3f& box) {
  for (int axis = 0; axis < 3; ++axis)
    if (!std::isfinite(box.min(axis)) || !std::isfinite(box.max(axis)))
      return "the box is not finite";
  volume.box_ = box;
  return nullptr;
}

NmHandle<VlDataAccess> VlMemoryData::openAccess(bool write) {
  if (voxels_ == nullptr || (write && holding_ == Holding::sharedReadOnly)) return nullptr;
  return voxreg::detail::makeMemoryAccess({dims_, numDataVars_, type_}, voxels_, write);
}
