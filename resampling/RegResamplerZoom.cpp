#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>

#include "foundation/NmRawData.h"
#include "foundation/ProgressScope.h"
#include "foundation/sampling/volumePair.h"
#include "foundation/voxels/voxelGrid.h"
#include "foundation/voxels/voxelTypes.h"
#include "resampling/RegResampler.h"
#include "resampling/contribLists.h"
#include "resampling/extremeReduction.h"
#include "resampling/lineTaps.h"
#include "resampling/zoomPass.h"
#include "resampling/zoomProgress.h"
#include "resampling/zoomShape.h"

using voxreg::detail::ContribLists;
using voxreg::detail::Extreme;
using voxreg::detail::LineTaps;
using voxreg::detail::VolumePair;
using voxreg::detail::VoxelGrid;
using voxreg::detail::ZoomProgress;
using voxreg::detail::ZoomShape;

namespace {

constexpr int maxDataVars = 6;

/// Source and target with their locks, both addressable from one pointer.
struct LinearPair {
  VolumePair locked;
  void* from = nullptr;
  void* to = nullptr;

  LinearPair(VlData& source, VlData& target) : locked(voxreg::detail::lockPair(source, target)) {
    if (!locked.isOpen() || !locked.source->isLinear() || !locked.target->isLinear()) return;
    from = locked.source->dataPtr(0);
    to = locked.target->dataPtr(0);
  }

  bool isOpen() const { return from != nullptr && to != nullptr; }
};

bool isSameType(const VlData& source, const VlData& target) {
  return source.primType() == target.primType() &&
         voxreg::detail::isServedVoxelType(source.primType());
}

bool copyVoxels(VlData& source, VlData& target) {
  const NmPrimType type = source.primType();
  const std::int64_t numValues = VoxelGrid{source.dims(), source.numDataVars(), type}.numValues();
  if (!isSameType(source, target) || numValues < 1) return false;
  const LinearPair pair(source, target);
  if (!pair.isOpen()) return false;
  const std::int64_t bytes = numValues * NmPrimType::primTypeSize[type];
  // Two volumes may wrap the same memory of the host.
  std::memmove(pair.to, pair.from, static_cast<std::size_t>(bytes));
  return true;
}

int numSteps(const ZoomShape& shape) {
  const std::int64_t steps[3] = {shape.from.z, shape.from.z, shape.to.y};
  std::int64_t sum = 0;
  for (int axis = 0; axis < 3; ++axis)
    if (!shape.isKept(axis)) sum += steps[axis];
  return static_cast<int>(std::min(sum, voxreg::detail::largestDimension));
}

bool hasWholeFactors(const ZoomShape& shape) {
  return shape.wholeFactor(0) > 0 && shape.wholeFactor(1) > 0 && shape.wholeFactor(2) > 0;
}

bool averageCells(VlData& source, VlData& target, const ZoomShape& shape,
                  NmProgressInterface* progress) {
  const LinearPair pair(source, target);
  if (!pair.isOpen()) return false;
  const auto size = [&](int axis) { return static_cast<std::size_t>(shape.from[axis]); };
  NmRawData::downSample3D(pair.to, {pair.from, source.primType()}, size(0), size(1), size(2),
                          shape.wholeFactor(0), shape.wholeFactor(1), shape.wholeFactor(2),
                          progress);
  return true;
}

/// The three passes of one zoom.
class SeparableZoom {
 public:
  SeparableZoom(const RegResampler& resampler, const ZoomShape& shape, float (*filter)(float),
                float support)
      : resampler_(resampler),
        shape_(shape),
        filter_(filter),
        support_(support),
        progress_(resampler.progress) {}

  bool run(VlData& source, VlData& target) {
    NmHandle<VlData> intermediate;
    VlData* input = &source;
    for (int axis = 0; axis < 3; ++axis) {
      if (shape_.isUnchanged(axis)) continue;
      NmHandle<VlData> created;
      if (hasPassAfter(axis)) created = createIntermediate(axis, source);
      VlData* const output = hasPassAfter(axis) ? created.get() : &target;
      if (output == nullptr) return false;
      if (!voxreg::detail::runZoomPass(*input, *output, axis, tapsOf(axis), progress_))
        return false;
      intermediate = created;
      input = output;
    }
    return true;
  }

 private:
  bool hasPassAfter(int axis) const {
    for (int later = axis + 1; later < 3; ++later)
      if (!shape_.isUnchanged(later)) return true;
    return false;
  }

  NmHandle<VlData> createIntermediate(int axis, const VlData& source) const {
    int dims[3];
    for (int k = 0; k < 3; ++k)
      dims[k] = static_cast<int>(k <= axis ? shape_.to[k] : shape_.from[k]);
    return RegResampler::createVlData(dims, source.primType(), source.numDataVars());
  }

  // All axes are compared with the ratio of x: along y and z, cells are averaged only if they agree
  // with those along x.
  bool averagesCells(int axis) const {
    const float ratio = shape_.fromLength(axis) / shape_.length[axis];
    const auto difference = static_cast<double>(ratio - static_cast<float>(shape_.ratio(0)));
    return resampler_.filterType == RegResampler::Box && std::fabs(difference) <= 1e-10;
  }

  LineTaps tapsOf(int axis) const {
    const int numOut = static_cast<int>(shape_.to[axis]);
    const int numIn = static_cast<int>(shape_.from[axis]);
    const float scale = shape_.length[axis] / shape_.fromLength(axis);
    if (averagesCells(axis)) return {numOut, static_cast<int>(shape_.ratio(axis)), scale};
    return LineTaps(
        ContribLists(resampler_.filter_contrib(numOut, numIn, scale, filter_, support_), numOut));
  }

  const RegResampler& resampler_;
  const ZoomShape& shape_;
  float (*filter_)(float);
  float support_;
  ZoomProgress progress_;
};

}  // namespace

bool RegResampler::zoom3d(VlData& source, VlData& target, const float* newDims,
                          float (*filter)(float), float support, int numThreads) {
  if (newDims == nullptr || filter == nullptr || numThreads < 1) return false;
  const ZoomShape shape(source, target, newDims);
  const int numDataVars = source.numDataVars();
  if (!shape.isConsistent() || numDataVars < 1 || target.numDataVars() != numDataVars) return false;
  if (shape.isKept(0) && shape.isKept(1) && shape.isKept(2)) return copyVoxels(source, target);
  if (numDataVars > maxDataVars) return false;

  const ProgressScope scope(progress);
  if (progress != nullptr) progress->startWorking(numSteps(shape), "Resampling ...");
  if (numDataVars == 1 && filterType == Box && isSameType(source, target) && hasWholeFactors(shape))
    return averageCells(source, target, shape, progress);
  if (filterType == Maximum || filterType == Minimum)
    return reduceToExtremes(source, target, shape,
                            filterType == Maximum ? Extreme::maximum : Extreme::minimum, progress);
  return SeparableZoom(*this, shape, filter, support).run(source, target);
}
