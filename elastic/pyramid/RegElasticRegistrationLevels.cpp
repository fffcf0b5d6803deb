#include <algorithm>
#include <stdexcept>

#include "elastic/RegElasticRegistration.h"
#include "elastic/pyramid/elasticPyramid.h"
#include "resampling/RegResampler.h"

using voxreg::detail::roundedQuotient;

namespace {

/// A level never enlarges a volume.
bool isReductionOrCopy(const NmVec3l& from, const NmVec3i& to) {
  const bool isCopy = from == NmVec3l(to.x, to.y, to.z);
  return isCopy || to.x < from.x || to.y < from.y || to.z < from.z;
}

/// True if z is halved along with the other axes, which are reduced by `factor`: its voxels are
/// smaller than those in plane will be or, in a deep volume, not much larger (empirical limits).
bool isHalvedAlongZ(const NmVec3i& dims, const NmVec3f& voxelSize, float factor) {
  if (!(voxelSize.x > 0.0f)) return true;
  const float ratio = voxelSize.z / voxelSize.x;
  const float sizeX = voxelSize.x * static_cast<float>(dims.x);
  const float sizeZ = static_cast<float>(dims.z) * voxelSize.z;
  return ratio < factor || (sizeZ / sizeX > 0.5f && ratio < 1.25f * factor);
}

}  // namespace

bool RegElasticRegistration::downsample(const NmHandle<VlData>& source, NmHandle<VlData>& result,
                                        NmVec3i& dims, const NmVec3f& voxelSize,
                                        bool /*unusedFlag*/) const {
  if (source == nullptr || std::min({dims.x, dims.y, dims.z}) < 1) return false;
  for (int axis = 0; axis < 3; ++axis)
    if (!(voxelSize[axis] > 0.0f)) return false;
  if (!isReductionOrCopy(source->dims(), dims)) return false;
  const NmVec3f lengths(static_cast<float>(dims.x), static_cast<float>(dims.y),
                        static_cast<float>(dims.z));
  // Not the caller's volume, which might be written in place and might be the source.
  NmHandle<VlData> made;
  try {
    if (!RegResampler().doResample(source, made, lengths, nullptr, voxelSize,
                                   RegResampler::Lanczos3, 0.0f, std::max(numThreads, 1)))
      return false;
  } catch (const std::logic_error&) {
    return false;
  }
  result = made;
  return true;
}

bool RegElasticRegistration::specifyDownsampling(const NmVec3i& dims, const NmVec3f& voxelSize,
                                                 NmVec3i& newDims, NmVec3f& newVoxelSize) const {
  constexpr int largestHalved = 512;
  constexpr int smallestWidth = 65;
  const NmVec3i from = dims;
  const NmVec3f size = voxelSize;
  newDims = NmVec3i();
  newVoxelSize = NmVec3f();
  const int longer = std::max(from.x, from.y);
  float factor = 2.0f;
  if (longer <= largestHalved) {
    if (from.x < smallestWidth) return false;
    newDims = NmVec3i(from.x / 2, from.y / 2, from.z);
  } else {
    factor = static_cast<float>(longer) * 0.00390625f;  // 1 / 256
    newDims = NmVec3i(roundedQuotient(from.x, factor), roundedQuotient(from.y, factor), from.z);
  }
  newVoxelSize = NmVec3f(size.x * factor, size.y * factor, size.z);
  if (from.z < 2 || !isHalvedAlongZ(from, size, factor)) return true;
  newDims.z = from.z / 2 + from.z % 2;
  newVoxelSize.z = 2.0f * size.z;
  return true;
}
