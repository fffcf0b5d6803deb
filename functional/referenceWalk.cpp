#include "functional/referenceWalk.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "metrics/RegCorrelationRatio.h"
#include "metrics/RegMeanSquaredDifference.h"
#include "metrics/RegMutualInformation.h"

namespace voxreg::detail {
namespace {

NmBox3i wholeGrid(const NmVec3i& dims) {
  return {0, dims.x - 1, 0, dims.y - 1, 0, dims.z - 1};
}

NmBox3i cut(const NmBox3i& box, const NmVec3i& dims) {
  return {std::max(box.xmin, 0), std::min(box.xmax, dims.x - 1),
          std::max(box.ymin, 0), std::min(box.ymax, dims.y - 1),
          std::max(box.zmin, 0), std::min(box.zmax, dims.z - 1)};
}

CorrelationSums emptySums(const RegCorrelationRatio& metric) {
  return {metric.minRef, metric.maxRef, metric.minModel, metric.maxModel};
}

void addTo(RegCorrelationRatio& metric, const CorrelationSums& sums, long total) {
  metric.accumulate(sums.count, total, sums.refSq, sums.modelSq, sums.refModel, sums.ref,
                    sums.model, RegMetricParamCurrent);
}

/// The work histogram of one kernel call. With a single one its contents replace the metric's, with
/// more they are added; only the first ever receives samples.
class WorkHistogram {
 public:
  WorkHistogram(RegMutualInformation& metric, int numHistograms)
      : metric_(metric), replaces_(numHistograms <= 1) {
    NmDArray<double>& target = replaces_ ? metric.jointHistogram : work_;
    target.resize(metric.jointHistogram.size);
    std::memset(target.data, 0, static_cast<unsigned long>(target.size) * sizeof(double));
    sums.rows = {metric.minRef, metric.scaleRef, metric.maxRef, metric.numBinsRef};
    sums.columns = {metric.minModel, metric.scaleModel, metric.maxModel, metric.numBinsMod};
    sums.histogram = target.data;
  }

  void finish(long total) {
    if (!replaces_)
      for (long k = 0; k < work_.size; ++k) metric_.jointHistogram[k] += work_[k];
    metric_.numSamples += sums.count;
    metric_.numTotalSamples += total;
  }

  HistogramSums sums;

 private:
  RegMutualInformation& metric_;
  bool replaces_;
  NmDArray<double> work_;
};

}  // namespace

bool WalkArguments::isComplete() const {
  return reference != nullptr && model != nullptr && modelDims != nullptr && bounds != nullptr &&
         std::min({referenceDims.x, referenceDims.y, referenceDims.z}) >= 1 &&
         std::min({modelDims[0], modelDims[1], modelDims[2]}) >= 1;
}

ReferenceWalk::ReferenceWalk(const WalkArguments& arguments, const NmBox3i& box) {
  walk.reference = arguments.reference;
  walk.referenceType = arguments.referenceType;
  walk.model = arguments.model;
  walk.box = cut(box, arguments.referenceDims);
  for (int axis = 0; axis < 3; ++axis) {
    walk.referenceDims[axis] = arguments.referenceDims[axis];
    walk.modelDims[axis] = arguments.modelDims[axis];
    walk.start[axis] = arguments.start[axis];
    walk.step[0][axis] = arguments.stepX[axis];
    walk.step[1][axis] = arguments.stepY[axis];
    walk.step[2][axis] = arguments.stepZ[axis];
    walk.signs[axis] = arguments.signs[axis];
    walk.bounds[axis][0] = arguments.bounds[2 * axis];
    walk.bounds[axis][1] = arguments.bounds[2 * axis + 1];
  }
  constexpr long alignment = 64 / sizeof(double);
  scratch_.resize(scratchDoubles(arguments.referenceDims.x) + alignment);
  const auto address = reinterpret_cast<std::uintptr_t>(scratch_.data);
  walk.scratch = scratch_.data + (64 - address % 64) % 64 / sizeof(double);
}

long ReferenceWalk::numVoxels() const {
  const NmBox3i& box = walk.box;
  if (box.xmax < box.xmin || box.ymax < box.ymin || box.zmax < box.zmin) return 0;
  return (box.xmax - box.xmin + 1L) * (box.ymax - box.ymin + 1L) * (box.zmax - box.zmin + 1L);
}

void walkAffine(const WalkArguments& arguments, RegMeanSquaredDifference& metric) {
  if (!arguments.isComplete()) return;
  NmBox3i slices = wholeGrid(arguments.referenceDims);
  slices.zmin = arguments.box.zmin;
  slices.zmax = arguments.box.zmax;
  const ReferenceWalk reference(arguments, slices);
  DifferenceSums sums;
  kernels().affineDifference[arguments.modelType](reference.walk, sums);
  metric.sumNegSquaredDiff += sums.negSquaredDiff;
  metric.numSamples += sums.count;
  metric.numTotalSamples += reference.numVoxels();
}

void walkAffine(const WalkArguments& arguments, RegCorrelationRatio& metric) {
  if (!arguments.isComplete()) return;
  const ReferenceWalk reference(arguments, wholeGrid(arguments.referenceDims));
  CorrelationSums sums = emptySums(metric);
  kernels().affineCorrelation[arguments.modelType](reference.walk, sums);
  addTo(metric, sums, reference.numVoxels());
}

void walkAffine(const WalkArguments& arguments, RegMutualInformation& metric, int numHistograms) {
  if (!arguments.isComplete() || !metric.canAccumulate()) return;
  const ReferenceWalk reference(arguments, wholeGrid(arguments.referenceDims));
  WorkHistogram work(metric, numHistograms);
  kernels().affineHistogram[arguments.modelType](reference.walk, work.sums);
  work.finish(reference.numVoxels());
}

}  // namespace voxreg::detail
