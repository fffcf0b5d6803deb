#include <algorithm>
#include <cmath>
#include <limits>

#include "foundation/voxels/volumeFrame.h"
#include "registration/RegVoxelRegistration.h"

using voxreg::detail::dimsOf;

namespace {

bool isAxis(int axis) {
  return axis >= 0 && axis < 3;
}

/// The volume at `index`, limited to the array; null for an empty one.
const VlData* volumeAt(const NmDArray<NmHandle<VlData>>& volumes, std::int64_t index) {
  return volumes.size < 1 ? nullptr : volumes[std::min(index, volumes.size - 1)].get();
}

/// The axes with `last` at the end and `first`, if it is another, in front.
NmVec3i axesFrom(int first, int last) {
  if (first == last) first = last == 1 ? 0 : 1;
  return {first, 3 - first - last, last};
}

/// The whole number nearest to `ratio` on a logarithmic scale, at least 1.
int nearestFactor(float ratio) {
  if (!(ratio > 1.0f)) return 1;
  const float lower = std::floor(ratio);
  const float upper = std::ceil(ratio);
  const float nearest = ratio * ratio > lower * upper ? upper : lower;
  constexpr int largest = std::numeric_limits<int>::max();
  return static_cast<double>(nearest) < largest ? static_cast<int>(nearest) : largest;
}

/// The factor that leaves 2 voxels of `n`.
int largestFactor(int n) {
  return n < 4 ? 1 : n / 2;
}

/// The nearest int, which stands in for what is beyond its limits; NaN is passed on.
double nearestInt(float value) {
  const double nearest = std::rint(static_cast<double>(value));
  return std::clamp<double>(nearest, std::numeric_limits<int>::min(),
                            std::numeric_limits<int>::max());
}

}  // namespace

int RegVoxelRegistration::get2DOrientation(const NmVec3i& a, const NmVec3i& b) {
  int flat = 3;
  for (int axis = 0; axis < 3; ++axis) {
    if (a[axis] != 1) continue;
    if (flat != 3) return -1;
    flat = axis;
  }
  for (int axis = 0; axis < 3; ++axis) {
    if (b[axis] != 1) continue;
    if (flat != 3 && flat != axis) return -1;
    flat = axis;
  }
  return flat;
}

int RegVoxelRegistration::get2DOrientation(VlData* a, VlData* b) {
  if (a == nullptr || b == nullptr) return -1;
  return get2DOrientation(dimsOf(*a), dimsOf(*b));
}

int RegVoxelRegistration::get2DOrientation(NmDArray<NmHandle<VlData>>& referenceVolumes,
                                           NmDArray<NmHandle<VlData>>& modelVolumes, int index) {
  if (referenceVolumes.size < 1 || modelVolumes.size < 1) return -1;
  const long i = std::clamp<long>(index, 0, referenceVolumes.size - 1);
  return get2DOrientation(referenceVolumes[i].get(), modelVolumes[0].get());
}

void RegVoxelRegistration::getMinDelta(NmDArray<NmHandle<VlData>>& referenceVolumes,
                                       NmDArray<NmHandle<VlData>>& modelVolumes, NmVec3f& delta,
                                       NmVec3i& axes, int which, int flatAxis) {
  const VlData* const volume =
      which > 0 ? volumeAt(modelVolumes, 0) : volumeAt(referenceVolumes, -static_cast<long>(which));
  delta = volume == nullptr ? NmVec3f() : voxreg::detail::VolumeFrame(*volume).voxelSize;
  int largest = 2;
  int smallest = 1;
  float largestDelta = 0.0f;
  float smallestDelta = 1.0e20f;
  for (int axis = 0; axis < 3; ++axis) {
    if (axis == flatAxis) continue;
    if (delta[axis] > largestDelta) largestDelta = delta[largest = axis];
    if (delta[axis] < smallestDelta) smallestDelta = delta[smallest = axis];
  }
  axes = axesFrom(smallest, isAxis(flatAxis) ? flatAxis : largest);
}

NmVec3i RegVoxelRegistration::findIsotropicSampling(float target, const NmVec3f& delta,
                                                    const NmVec3i& base, const NmVec3i& limit) {
  NmVec3i factors;
  for (int axis = 0; axis < 3; ++axis) {
    int factor = std::max(base[axis], 1);
    if (target > 0.0f && delta[axis] > 0.0f) factor = nearestFactor(target / delta[axis]);
    factors[axis] = limit[axis] > 0 ? std::min(limit[axis], factor) : factor;
  }
  return factors;
}

NmVec3i RegVoxelRegistration::getSamplingModel(const NmVec3i& factors, const NmVec3f& deltaRef,
                                               const NmVec3f& deltaModel, int flatAxis) {
  const float target = std::min(static_cast<float>(factors.x) * deltaRef.x,
                                static_cast<float>(factors.y) * deltaRef.y);
  NmVec3i sampling = findIsotropicSampling(target, deltaModel, factors, NmVec3i());
  if (isAxis(flatAxis)) sampling[flatAxis] = 1;
  return sampling;
}

void RegVoxelRegistration::restrictCoarsestResampling(VlData* ref, VlData* modelVolume,
                                                      bool fixedLimit, NmVec3i& factors) {
  if (ref == nullptr) return;
  const NmVec3i dimsModel = modelVolume == nullptr ? NmVec3i() : dimsOf(*modelVolume);
  restrictCoarsestResampling(dimsOf(*ref), dimsModel, fixedLimit, factors);
}

void RegVoxelRegistration::restrictCoarsestResampling(const NmVec3i& dimsRef,
                                                      const NmVec3i& dimsModel, bool fixedLimit,
                                                      NmVec3i& factors) {
  const bool hasModel = dimsModel.x > 0;
  const int flat = hasModel && !fixedLimit ? get2DOrientation(dimsRef, dimsModel) : 3;
  for (int axis = 0; axis < 3; ++axis) {
    int limit = fixedLimit ? 16 : largestFactor(dimsRef[axis]);
    if (axis == flat) limit = 1;
    if (hasModel) limit = std::min(limit, largestFactor(dimsModel[axis]));
    factors[axis] = std::min(std::max(factors[axis], 1), limit);
  }
}

// An integer range of at least 256 values is divided into steps of as many values each as bring the
// number of steps nearest to 256.
int RegVoxelRegistration::getNumBins(float min, float max, bool integerData) {
  if (!integerData) return 256;
  const double range = nearestInt(max) - nearestInt(min);
  if (!(range > 0.0)) return 1;
  const double bins = range < 255.0 ? range + 1.0 : 256.0;
  const float valuesPerBin = static_cast<float>(range) / static_cast<float>(bins);
  return std::max(static_cast<int>(range / std::floor(static_cast<double>(valuesPerBin) + 0.5)), 1);
}
