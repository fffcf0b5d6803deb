#include "functional/families/metricFamily.h"
#include "functional/referenceWalk.h"
#include "metrics/RegMeanSquaredDifference.h"

namespace voxreg::detail {
namespace {

bool holds(const RegMetric* metric) {
  return dynamic_cast<const RegMeanSquaredDifference*>(metric) != nullptr;
}

void addTo(RegMetric& metric, const DifferenceSums& sums, std::int64_t total) {
  static_cast<RegMeanSquaredDifference&>(metric).sumNegSquaredDiff += sums.negSquaredDiff;
  metric.numSamples += sums.count;
  metric.numTotalSamples += total;
}

void walkAffine(const WalkFrame& frame, RegMetric& metric, int, const KernelTable& table) {
  if (!isComplete(frame)) return;
  NmBox3i slices = wholeReference(frame);
  slices.zmin = frame.box.zmin;
  slices.zmax = frame.box.zmax;
  const ReferenceWalk reference(frame, slices);
  DifferenceSums sums;
  table.difference.affine[frame.modelType](reference.walk, sums);
  addTo(metric, sums, reference.numVoxels());
}

// This family computes the steps differently from the others, with different rounding.
GridSteps gridSteps(const WalkFrame& frame) {
  const int nx = frame.referenceDims[0];
  const int ny = frame.referenceDims[1];
  const double* const start = frame.start;
  const double rowX = frame.step[0][0] * (nx - 1);
  const double rowY = frame.step[0][1] * (nx - 1);
  const double columnX = frame.step[1][0] * (ny - 1);
  const double columnY = frame.step[1][1] * (ny - 1);
  return {nx > 1 ? ((columnX + rowX + start[0]) - start[0]) / (nx - 1) : 1.0,
          ny > 1 ? ((rowY + start[1] + columnY) - start[1]) / (ny - 1) : 1.0};
}

void walkBricks(const WalkFrame& frame, const RegNonAffineTransform& grid, RegMetric& metric, int,
                const KernelTable& table) {
  if (!isComplete(frame)) return;
  const ReferenceWalk reference(frame, grid, gridSteps(frame));
  DifferenceSums sums;
  if (canEvaluate(grid)) table.difference.bricks[frame.modelType](reference.walk, sums);
  addTo(metric, sums, reference.numVoxels());
}

}  // namespace

const MetricFamily differenceFamily = {holds, walkAffine, walkBricks, nullptr, 0.25, false};

}  // namespace voxreg::detail
