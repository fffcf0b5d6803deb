#include <algorithm>
#include <cstdint>
#include <utility>

#include "elastic/RegElasticRegistration.h"
#include "elastic/chestwall/axisOrder.h"
#include "foundation/NmLogFile.h"
#include "foundation/sampling/voxelBlock.h"
#include "foundation/voxels/volumeFrame.h"
#include "foundation/voxels/voxelTypes.h"

using voxreg::detail::VolumeFrame;

namespace {

/// Depth of the region as a share of its width: 11/16 (empirical).
constexpr float depthShare = 0.6875f;

/// An axis along which the voxels of a slice are walked.
struct Walk {
  std::int64_t stride = 0;
  int count = 0;
};

/// The first index from which a quarter of all slices are flagged without a gap, or all up to the
/// last; -1 if there is none. The slice after a gap does not begin a run.
int findRun(const NmDArray<bool>& flags) {
  const auto n = static_cast<int>(flags.size);
  for (int first = 0; first < n;) {
    if (!flags[first]) {
      ++first;
      continue;
    }
    const int end =
        static_cast<int>(std::min<std::int64_t>(first + static_cast<std::int64_t>(n / 4), n));
    int gap = first + 1;
    while (gap < end && flags[gap]) ++gap;
    if (gap >= end) return first;
    first = gap + 2;
  }
  return -1;
}

/// Number of slices in the region; `innerCount` is the count of the faster of the two axes across
/// the profile.
int regionLength(const VolumeFrame& frame, const NmVec3i& axes, int innerCount) {
  const float spacing = frame.voxelSize[axes.y];
  if (!(spacing > 0.0f)) return frame.dims[axes.y];
  const float length =
      static_cast<float>(innerCount) * depthShare * frame.voxelSize[axes.x] / spacing;
  return std::max(0, voxreg::detail::toVoxel<int>(length));
}

/// The region starting slightly before slice `first`, with bounds that suit the bricks.
std::pair<int, int> regionBounds(int first, int length, int n) {
  const int alignment = n > 256 ? 8 : 4;
  const int before = std::max(0, first - alignment);
  const int low = before - before % alignment;
  const auto end =
      static_cast<int>(std::min<std::int64_t>(static_cast<std::int64_t>(low) + length, n));
  return {low, end - 1 - end % alignment};
}

void setBounds(NmBox3i& box, int axis, int low, int high) {
  (axis == 0 ? box.xmin : axis == 1 ? box.ymin : box.zmin) = low;
  (axis == 0 ? box.xmax : axis == 1 ? box.ymax : box.zmax) = high;
}

}  // namespace

bool RegElasticRegistration::findRegionOfInterest(int threshold, const NmVec3i& axes, bool flip,
                                                  NmBox3i& roi) const {
  if (reference == nullptr) {
    getTheLogInstance().errorf("findRegionOfInterest: Reference volume is undefined.");
    return false;
  }
  const VolumeFrame frame(*reference);
  const auto block = voxreg::detail::VoxelBlock::lock(*reference);
  if (!block.isOpen()) {
    getTheLogInstance().errorf(
        "findRegionOfInterest: Failed getting data access or data are not contiguous.");
    return false;
  }
  roi = voxreg::detail::allVoxels(frame.dims);
  if (!voxreg::detail::isPermutation(axes)) {
    getTheLogInstance().errorf("findRegionOfInterest: axes are not 0, 1 and 2 in some order.");
    return false;
  }
  if (frame.box.extent(axes.y) <= 0.75f * frame.box.extent(axes.x)) return true;
  const std::int64_t strides[3] = {1, frame.dims.x,
                                   static_cast<std::int64_t>(frame.dims.x) * frame.dims.y};
  Walk inner = {strides[axes.x], frame.dims[axes.x]};
  Walk outer = {strides[axes.z], frame.dims[axes.z]};
  if (outer.stride < inner.stride) std::swap(inner, outer);
  if (reference->primType() != NmPrimType::UnsignedShort) {
    getTheLogInstance().errorf("findRegionOfInterest: Data type not yet implemented.");
    return false;
  }
  const int n = frame.dims[axes.y];
  NmDArray<bool> flags;
  scanCoronalSlices(block.as<unsigned short>(), inner.stride, strides[axes.y], outer.stride,
                    inner.count, n, outer.count, threshold, flip, flags);
  const int first = findRun(flags);
  if (first < 0) return true;
  const auto [low, high] = regionBounds(first, regionLength(frame, axes, inner.count), n);
  if (flip)
    setBounds(roi, axes.y, n - 1 - high, n - 1 - low);
  else
    setBounds(roi, axes.y, low, high);
  return true;
}

template <class T>
void RegElasticRegistration::scanCoronalSlices(T* data, std::int64_t innerStride,
                                               std::int64_t profileStride, std::int64_t outerStride,
                                               int innerCount, int profileCount, int outerCount,
                                               int threshold, bool flip,
                                               NmDArray<bool>& flags) const {
  if (flags.size < profileCount) flags.resize(profileCount);
  std::fill_n(flags.data, flags.size, false);
  if (data == nullptr) return;
  for (int i = 0; i < profileCount; ++i) {
    const T* const slice = data + i * profileStride;
    bool isReached = false;
    for (int b = 0; b < outerCount && !isReached; ++b)
      for (int a = 0; a < innerCount && !isReached; ++a)
        isReached = static_cast<int>(slice[b * outerStride + a * innerStride]) >= threshold;
    flags[flip ? profileCount - 1 - i : i] = isReached;
  }
}

template void RegElasticRegistration::scanCoronalSlices<unsigned short>(unsigned short*,
                                                                        std::int64_t, std::int64_t,
                                                                        std::int64_t, int, int, int,
                                                                        int, bool,
                                                                        NmDArray<bool>&) const;
