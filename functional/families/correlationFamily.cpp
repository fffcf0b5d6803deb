#include "functional/families/metricFamily.h"
#include "functional/referenceWalk.h"
#include "metrics/RegCorrelationRatio.h"

namespace voxreg::detail {
namespace {

bool holds(const RegMetric* metric) {
  return dynamic_cast<const RegCorrelationRatio*>(metric) != nullptr;
}

CorrelationSums emptySums(const RegMetric& metric) {
  const auto& ranges = static_cast<const RegCorrelationRatio&>(metric);
  return {ranges.minRef, ranges.maxRef, ranges.minModel, ranges.maxModel};
}

void addTo(RegMetric& metric, const CorrelationSums& sums, std::int64_t total) {
  static_cast<RegCorrelationRatio&>(metric).accumulate(sums.count, total, sums.refSq, sums.modelSq,
                                                       sums.refModel, sums.ref, sums.model,
                                                       RegMetricParamCurrent);
}

void walkAffine(const WalkFrame& frame, RegMetric& metric, int, const KernelTable& table) {
  if (!isComplete(frame)) return;
  const ReferenceWalk reference(frame, wholeReference(frame));
  CorrelationSums sums = emptySums(metric);
  table.correlation.affine[frame.modelType](reference.walk, sums);
  addTo(metric, sums, reference.numVoxels());
}

void walkBricks(const WalkFrame& frame, const RegNonAffineTransform& grid, RegMetric& metric, int,
                const KernelTable& table) {
  if (!isComplete(frame)) return;
  const ReferenceWalk reference(frame, grid, GridSteps::ranged(frame));
  CorrelationSums sums = emptySums(metric);
  if (canEvaluate(grid)) table.correlation.bricks[frame.modelType](reference.walk, sums);
  addTo(metric, sums, reference.numVoxels());
}

ValueRange referenceRange(const RegMetric& metric) {
  const auto& ranges = static_cast<const RegCorrelationRatio&>(metric);
  return {ranges.minRef, ranges.maxRef};
}

}  // namespace

const MetricFamily correlationFamily = {holds, walkAffine, walkBricks, referenceRange, 0.25, true};

}  // namespace voxreg::detail
