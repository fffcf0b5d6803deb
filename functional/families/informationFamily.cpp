#include <cstring>

#include "functional/families/metricFamily.h"
#include "functional/referenceWalk.h"
#include "metrics/RegMutualInformation.h"

namespace voxreg::detail {
namespace {

bool holds(const RegMetric* metric) {
  return dynamic_cast<const RegMutualInformation*>(metric) != nullptr;
}

/// The work histogram of one kernel call. A single one replaces the metric's contents; several are
/// added to them. Only the first ever receives samples.
class WorkHistogram {
 public:
  WorkHistogram(RegMutualInformation& metric, int numHistograms)
      : metric_(metric), replaces_(numHistograms <= 1) {
    NmDArray<double>& target = replaces_ ? metric.jointHistogram : work_;
    target.resize(metric.jointHistogram.size);
    std::memset(target.data, 0, static_cast<std::size_t>(target.size) * sizeof(double));
    sums.rows = {metric.minRef, metric.scaleRef, metric.maxRef, metric.numBinsRef};
    sums.columns = {metric.minModel, metric.scaleModel, metric.maxModel, metric.numBinsMod};
    sums.histogram = target.data;
  }

  void finish(std::int64_t total) {
    if (!replaces_)
      for (std::int64_t k = 0; k < work_.size; ++k) metric_.jointHistogram[k] += work_[k];
    metric_.numSamples += sums.count;
    metric_.numTotalSamples += total;
  }

  HistogramSums sums;

 private:
  RegMutualInformation& metric_;
  bool replaces_;
  NmDArray<double> work_;
};

void walkAffine(const WalkFrame& frame, RegMetric& metric, int numHistograms,
                const KernelTable& table) {
  auto& information = static_cast<RegMutualInformation&>(metric);
  if (!isComplete(frame) || !information.canAccumulate()) return;
  const ReferenceWalk reference(frame, wholeReference(frame));
  WorkHistogram work(information, numHistograms);
  table.histogram.affine[frame.modelType](reference.walk, work.sums);
  work.finish(reference.numVoxels());
}

void walkBricks(const WalkFrame& frame, const RegNonAffineTransform& grid, RegMetric& metric,
                int numHistograms, const KernelTable& table) {
  auto& information = static_cast<RegMutualInformation&>(metric);
  if (!isComplete(frame) || !information.canAccumulate()) return;
  const ReferenceWalk reference(frame, grid, GridSteps::ranged(frame));
  WorkHistogram work(information, numHistograms);
  if (canEvaluate(grid)) table.histogram.bricks[frame.modelType](reference.walk, work.sums);
  work.finish(reference.numVoxels());
}

ValueRange referenceRange(const RegMetric& metric) {
  const auto& ranges = static_cast<const RegMutualInformation&>(metric);
  return {ranges.minRef, ranges.maxRef};
}

}  // namespace

const MetricFamily informationFamily = {holds, walkAffine, walkBricks, referenceRange, 0.1, false};

}  // namespace voxreg::detail
