#include "registration/samplingPlan.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "foundation/voxels/volumeFrame.h"

namespace voxreg::detail {
namespace {

bool isAxis(int axis) {
  return axis >= 0 && axis < 3;
}

/// The axes with `last` at the end and `first`, if it differs, at the front.
NmVec3i axesFrom(int first, int last) {
  if (first == last) first = last == 1 ? 0 : 1;
  return {first, 3 - first - last, last};
}

/// The integer closest to `ratio` on a logarithmic scale, at least 1.
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

/// The nearest int, clamped to the range of int; NaN is passed on.
double nearestInt(float value) {
  const double nearest = std::rint(static_cast<double>(value));
  return std::clamp<double>(nearest, std::numeric_limits<int>::min(),
                            std::numeric_limits<int>::max());
}

void append(NmDArray<NmVec3i>& plan, const NmVec3i& factors) {
  plan.insert(plan.size, 1, &factors);
}

}  // namespace

int flatAxisOf(const NmVec3i& a, const NmVec3i& b) {
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

VoxelSizes::VoxelSizes(const VlData* volume, int flatAxis)
    : delta(volume == nullptr ? NmVec3f() : VolumeFrame(*volume).voxelSize) {
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

NmVec3i isotropicFactors(float target, const NmVec3f& delta, const NmVec3i& base,
                         const NmVec3i& limit) {
  NmVec3i factors;
  for (int axis = 0; axis < 3; ++axis) {
    int factor = std::max(base[axis], 1);
    if (target > 0.0f && delta[axis] > 0.0f) factor = nearestFactor(target / delta[axis]);
    factors[axis] = limit[axis] > 0 ? std::min(limit[axis], factor) : factor;
  }
  return factors;
}

NmVec3i modelFactors(const NmVec3i& factors, const NmVec3f& deltaRef, const NmVec3f& deltaModel,
                     int flatAxis) {
  const float target = std::min(static_cast<float>(factors.x) * deltaRef.x,
                                static_cast<float>(factors.y) * deltaRef.y);
  NmVec3i sampling = isotropicFactors(target, deltaModel, factors, NmVec3i());
  if (isAxis(flatAxis)) sampling[flatAxis] = 1;
  return sampling;
}

void limitCoarsest(const NmVec3i& dimsRef, const NmVec3i& dimsModel, bool fixedLimit,
                   NmVec3i& factors) {
  const bool hasModel = dimsModel.x > 0;
  const int flat = hasModel && !fixedLimit ? flatAxisOf(dimsRef, dimsModel) : 3;
  for (int axis = 0; axis < 3; ++axis) {
    int limit = fixedLimit ? 16 : largestFactor(dimsRef[axis]);
    if (axis == flat) limit = 1;
    if (hasModel) limit = std::min(limit, largestFactor(dimsModel[axis]));
    factors[axis] = std::min(std::max(factors[axis], 1), limit);
  }
}

NmDArray<NmVec3i> levelFactors(const NmVec3i& coarsest, const NmVec3f& delta, bool isAffine,
                               int levelRatio) {
  const NmVec3i fullResolution(1, 1, 1);
  NmDArray<NmVec3i> plan;
  append(plan, fullResolution);
  if (!isAffine) return plan;
  const float target =
      std::min(static_cast<float>(coarsest.x) * delta.x, static_cast<float>(coarsest.y) * delta.y) /
      static_cast<float>(levelRatio);
  const NmVec3i half(coarsest.x / levelRatio, coarsest.y / levelRatio, coarsest.z / levelRatio);
  const NmVec3i middle = isotropicFactors(target, delta, half, coarsest);
  if (middle != fullResolution) append(plan, middle);
  if (coarsest != middle) append(plan, coarsest);
  if (plan.size == 1) append(plan, fullResolution);
  return plan;
}

// An integer range of at least 256 values is divided into bins of an equal number of values, chosen
// such that the number of bins is closest to 256.
int numBinsFor(float min, float max, bool integerData) {
  if (!integerData) return 256;
  const double range = nearestInt(max) - nearestInt(min);
  if (!(range > 0.0)) return 1;
  const double bins = range < 255.0 ? range + 1.0 : 256.0;
  const float valuesPerBin = static_cast<float>(range) / static_cast<float>(bins);
  return std::max(static_cast<int>(range / std::floor(static_cast<double>(valuesPerBin) + 0.5)), 1);
}

}  // namespace voxreg::detail
