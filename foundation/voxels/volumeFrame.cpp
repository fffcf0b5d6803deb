#include "foundation/voxels/volumeFrame.h"

#include <algorithm>
#include <limits>

#include "foundation/VlData.h"

namespace voxreg::detail {

NmBox3f boxOf(const VlData& volume) {
  NmBox3f box;
  volume.boundingBox(box);
  return box;
}

NmVec3i dimsOf(const VlData& volume) {
  const NmVec3l dims = volume.dims();
  NmVec3i limited;
  for (int axis = 0; axis < 3; ++axis)
    limited[axis] =
        static_cast<int>(std::clamp<std::int64_t>(dims[axis], 0, std::numeric_limits<int>::max()));
  return limited;
}

NmBox3i allVoxels(const NmVec3i& dims) {
  return {0, dims.x - 1, 0, dims.y - 1, 0, dims.z - 1};
}

VolumeFrame::VolumeFrame(const VlData& volume)
    : dims(dimsOf(volume)), box(boxOf(volume)), voxelSize(volume.voxelSpacing()) {}

VolumeFrame::VolumeFrame(const NmVec3i& voxels, const NmBox3f& throughCentres)
    : dims(voxels),
      box(throughCentres),
      voxelSize(box.getVoxelSize(NmVec3f(static_cast<float>(voxels.x), static_cast<float>(voxels.y),
                                         static_cast<float>(voxels.z)))) {}

NmVec3f VolumeFrame::centre() const {
  return {0.5f * (box.xmin + box.xmax), 0.5f * (box.ymin + box.ymax), 0.5f * (box.zmin + box.zmax)};
}

float VolumeFrame::position(int axis, std::int64_t index) const {
  return static_cast<float>(index) * voxelSize[axis] + box.min(axis);
}

}  // namespace voxreg::detail
