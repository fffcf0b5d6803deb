#include "elastic/volumeFrame.h"

#include <cstdint>

#include "foundation/VlData.h"
#include "foundation/voxels/voxelTypes.h"

namespace voxreg::detail {
namespace {

int toCount(std::int64_t n) {
  return toVoxel<int>(static_cast<double>(n));
}

}  // namespace

VolumeFrame::VolumeFrame(const VlData& volume) : voxelSize(volume.voxelSpacing()) {
  const NmVec3l n = volume.dims();
  dims = NmVec3i(toCount(n.x), toCount(n.y), toCount(n.z));
  volume.boundingBox(box);
}

NmVec3f VolumeFrame::centre() const {
  return {0.5f * (box.xmin + box.xmax), 0.5f * (box.ymin + box.ymax), 0.5f * (box.zmin + box.zmax)};
}

NmBox3i VolumeFrame::allVoxels() const {
  return {0, dims.x - 1, 0, dims.y - 1, 0, dims.z - 1};
}

float VolumeFrame::position(int axis, std::int64_t index) const {
  return static_cast<float>(index) * voxelSize[axis] + box.min(axis);
}

bool isPermutation(const NmVec3i& axes) {
  bool taken[3] = {};
  for (int i = 0; i < 3; ++i) {
    const int axis = axes[i];
    if (axis < 0 || axis > 2 || taken[axis]) return false;
    taken[axis] = true;
  }
  return true;
}

}  // namespace voxreg::detail
