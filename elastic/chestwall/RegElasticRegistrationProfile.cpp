#include <algorithm>
#include <cmath>
#include <cstdint>

#include "elastic/RegElasticRegistration.h"
#include "elastic/chestwall/axisOrder.h"
#include "elastic/rescale.h"
#include "foundation/NmLogFile.h"
#include "foundation/sampling/voxelBlock.h"
#include "foundation/voxels/volumeFrame.h"

using voxreg::detail::VolumeFrame;

namespace {

/// The nearest voxel of an axis; for NaN the first.
int limitIndex(float index, int n) {
  if (!(index > 0.0f)) return 0;
  return static_cast<double>(index) < n - 1 ? static_cast<int>(index) : n - 1;
}

/// The part of one axis that a disk covers: voxels `first` to `last`, the first at `start` from the
/// centre and the others `step` apart.
struct DiskAxis {
  int first = 0;
  int last = 0;
  float start = 0.0f;
  float step = 0.0f;
  std::int64_t stride = 0;

  DiskAxis(float centre, float radius, float origin, float voxelSize, int n,
           std::int64_t strideOfAxis)
      : first(limitIndex(std::ceil((centre - radius - origin) / voxelSize), n)),
        last(limitIndex(std::floor((centre + radius - origin) / voxelSize), n)),
        start(static_cast<float>(first) * voxelSize + origin - centre),
        step(voxelSize),
        stride(strideOfAxis) {}
};

/// 0 if the disk holds no voxel.
template <class T>
float meanInDisk(const T* slice, const DiskAxis& outer, const DiskAxis& inner, float radius) {
  const float limit = radius * radius;
  float sum = 0.0f;
  std::int64_t count = 0;
  float db = outer.start;
  for (int b = outer.first; b <= outer.last; ++b, db += outer.step) {
    float da = inner.start;
    for (int a = inner.first; a <= inner.last; ++a, da += inner.step) {
      if (!(da * da + db * db <= limit)) continue;
      sum += static_cast<float>(slice[b * outer.stride + a * inner.stride]);
      ++count;
    }
  }
  return sum / static_cast<float>(std::max(count, std::int64_t{1}));
}

}  // namespace

bool RegElasticRegistration::getCoronalProfile(VlData* volume, const NmVec2f& rescale,
                                               const NmVec3i& axes, bool flip, float centerA,
                                               float centerB, float radius,
                                               NmDArray<float>& profile) const {
  if (volume == nullptr) {
    getTheLogInstance().errorf("getCoronalProfile: No field to be sampled.");
    return false;
  }
  const VolumeFrame frame(*volume);
  const auto block = voxreg::detail::VoxelBlock::lock(*volume);
  if (!block.isOpen()) {
    getTheLogInstance().errorf(
        "getCoronalProfile: Failed getting data access or data are not contiguous.");
    return false;
  }
  if (volume->primType() != NmPrimType::UnsignedShort) {
    getTheLogInstance().errorf("getCoronalProfile: primType not yet implemented.");
    return false;
  }
  return _getCoronalProfile(block.as<unsigned short>(), rescale, frame.dims, frame.box, axes, flip,
                            centerA, centerB, radius, profile);
}

template <class T>
bool RegElasticRegistration::_getCoronalProfile(T* data, const NmVec2f& rescale,
                                                const NmVec3i& dims, const NmBox3f& box,
                                                const NmVec3i& axes, bool flip, float centerA,
                                                float centerB, float radius,
                                                NmDArray<float>& profile) const {
  if (!voxreg::detail::isPermutation(axes)) {
    getTheLogInstance().errorf("getCoronalProfile: axes are not 0, 1 and 2 in some order.");
    return false;
  }
  const NmVec3f voxelSize = box.getVoxelSize(
      NmVec3f(static_cast<float>(dims.x), static_cast<float>(dims.y), static_cast<float>(dims.z)));
  if (!(voxelSize[axes.x] > 0.0f && voxelSize[axes.z] > 0.0f)) return false;
  if (dims.x < 1 || dims.y < 1 || dims.z < 1) return false;
  const std::int64_t strides[3] = {1, dims.x, static_cast<std::int64_t>(dims.x) * dims.y};
  const DiskAxis outer(centerB, radius, box.min(axes.z), voxelSize[axes.z], dims[axes.z],
                       strides[axes.z]);
  const DiskAxis inner(centerA, radius, box.min(axes.x), voxelSize[axes.x], dims[axes.x],
                       strides[axes.x]);
  const std::int64_t n = dims[axes.y];
  profile.resize(n);
  std::fill_n(profile.data, n, 0.0f);
  if (data == nullptr) return false;
  for (std::int64_t i = 0; i < n; ++i)
    profile[flip ? n - 1 - i : i] = voxreg::detail::physicalValue(
        meanInDisk(data + i * strides[axes.y], outer, inner, radius), rescale);
  return true;
}

template bool RegElasticRegistration::_getCoronalProfile<unsigned short>(
    unsigned short*, const NmVec2f&, const NmVec3i&, const NmBox3f&, const NmVec3i&, bool, float,
    float, float, NmDArray<float>&) const;
