#include "functional/referenceWalk.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "metrics/RegCorrelationRatio.h"
#include "metrics/RegMeanSquaredDifference.h"
#include "metrics/RegMutualInformation.h"
#include "transforms/RegNonAffineTransform.h"

namespace voxreg::detail {
namespace {

/// Where the voxels along one axis lie in a grid of bricks.
struct PlacesInGrid {
  double first;
  double step;
  std::int64_t count;
  double bricksPerUnit;
  int numBricks;
};

NmBox3i wholeGrid(const NmVec3i& dims) {
  return {0, dims.x - 1, 0, dims.y - 1, 0, dims.z - 1};
}

/// The box's voxels that the reference has; the default box where there are none.
NmBox3i cut(const NmBox3i& box, const NmVec3i& dims) {
  const NmBox3i inside = box.intersection(wholeGrid(dims));
  return inside.isEmpty() ? NmBox3i() : inside;
}

bool canEvaluate(const RegNonAffineTransform& grid) {
  return grid.hasVertices() && grid.coefficients.size >= brickDoubles * grid.brickCount();
}

double rangedStepX(const WalkArguments& a) {
  const int nx = a.referenceDims.x;
  if (nx < 2) return 1.0;
  return (a.stepX.x * (nx - 1) + a.stepY.x * (a.referenceDims.y - 1)) / (nx - 1);
}

double rangedStepY(const WalkArguments& a) {
  const int ny = a.referenceDims.y;
  if (ny < 2) return 1.0;
  return (a.stepX.y * (a.referenceDims.x - 1) + a.stepY.y * (ny - 1)) / (ny - 1);
}

/// Calls f(i, place) for the places of voxels 0 .. count - 1 along an axis, which run by repeated
/// additions.
template <class F>
void forEachPlace(const PlacesInGrid& run, F f) {
  double at = run.first;
  for (std::int64_t i = 0; i < run.count; ++i, at += run.step)
    f(i, placeInBricks(run.bricksPerUnit * at, run.numBricks));
}

BrickSpan touchedBy(const PlacesInGrid& run) {
  int first = run.numBricks;
  int last = -1;
  forEachPlace(run, [&](std::int64_t, const BrickPlace& place) {
    first = std::min(first, place.brick);
    last = std::max(last, place.brick);
  });
  return {first, std::max(last - first + 1, 0)};
}

CorrelationSums emptySums(const RegCorrelationRatio& metric) {
  return {metric.minRef, metric.maxRef, metric.minModel, metric.maxModel};
}

void addTo(RegMeanSquaredDifference& metric, const DifferenceSums& sums, std::int64_t total) {
  metric.sumNegSquaredDiff += sums.negSquaredDiff;
  metric.numSamples += sums.count;
  metric.numTotalSamples += total;
}

void addTo(RegCorrelationRatio& metric, const CorrelationSums& sums, std::int64_t total) {
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

}  // namespace

bool WalkArguments::isComplete(bool needsBounds) const {
  return reference != nullptr && model != nullptr && modelDims != nullptr &&
         (bounds != nullptr || !needsBounds) &&
         std::min({referenceDims.x, referenceDims.y, referenceDims.z}) >= 1 &&
         std::min({modelDims[0], modelDims[1], modelDims[2]}) >= 1;
}

ReferenceWalk::ReferenceWalk(const WalkArguments& arguments, const NmBox3i& box) {
  setFrame(arguments, box);
  for (int axis = 0; axis < 3; ++axis) {
    walk.rowStep[axis] = walk.step[1][axis];
    walk.signs[axis] = arguments.signs[axis];
    walk.bounds[axis][0] = arguments.bounds[2 * axis];
    walk.bounds[axis][1] = arguments.bounds[2 * axis + 1];
  }
  takeMemory(0);
}

ReferenceWalk::ReferenceWalk(const WalkArguments& arguments, const RegNonAffineTransform& grid,
                             double stepX, double stepY) {
  setFrame(arguments, arguments.box);
  const NmBox3f& box = grid.referenceBox;
  BrickGrid& bricks = walk.grid;
  bricks.coefficients = grid.coefficients.data;
  for (int axis = 0; axis < 3; ++axis) {
    bricks.numBricks[axis] = grid.numBricks[axis];
    bricks.offset[axis] = grid.offsetToModel[axis];
    bricks.scale[axis] = grid.scaleToModel[axis];
    walk.rowStep[axis] = walk.step[1][axis] * bricks.scale[axis];
  }
  const double x = box.extent(0);
  const double y = box.extent(1);
  const double nx = grid.numBricks.x;
  const bool wide = x > 0.0;
  const bool high = y > 0.0;
  bricks.zMin = box.zmin;
  bricks.zExtent = box.zmin < box.zmax ? static_cast<double>(box.extent(2)) : 1.0;
  if (!canEvaluate(grid)) return;
  // In brick units along x, normalised to the box along y.
  const PlacesInGrid columns = {
      wide ? (walk.start[0] + walk.box.xmin * stepX - box.xmin) * nx / x : 0.0,
      wide ? stepX * nx / x : 1.0, walk.box.xmax - walk.box.xmin + std::int64_t{1}, 1.0,
      bricks.numBricks[0]};
  const PlacesInGrid rows = {high ? (walk.start[1] + walk.box.ymin * stepY - box.ymin) / y : 0.0,
                             high ? stepY / y : 1.0,
                             walk.box.ymax - walk.box.ymin + std::int64_t{1},
                             static_cast<double>(bricks.numBricks[1]), bricks.numBricks[1]};
  bricks.touched[0] = touchedBy(columns);
  bricks.touched[1] = touchedBy(rows);
  auto* const places = reinterpret_cast<BrickPlace*>(takeMemory(columns.count + rows.count));
  forEachPlace(columns, [&](std::int64_t i, const BrickPlace& place) { places[i] = place; });
  forEachPlace(rows,
               [&](std::int64_t i, const BrickPlace& place) { places[columns.count + i] = place; });
  bricks.columns = places;
  bricks.rows = places + columns.count;
}

void ReferenceWalk::setFrame(const WalkArguments& arguments, const NmBox3i& box) {
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
  }
}

double* ReferenceWalk::takeMemory(std::int64_t numPlaces) {
  constexpr std::int64_t alignment = 64 / sizeof(double);
  constexpr std::int64_t placeDoubles = sizeof(BrickPlace) / sizeof(double);
  const BrickSpan* const touched = walk.grid.touched;
  const std::int64_t kept = keptDoubles * (walk.box.xmax - walk.box.xmin + 1 + maxLanes);
  const std::int64_t stages = stageDoubles(touched[0].count, touched[1].count);
  // Reserved but not filled: what a kernel reads, it has written.
  memory_.remax(kept + stages + placeDoubles * numPlaces + alignment, 0);
  const auto address = reinterpret_cast<std::uintptr_t>(memory_.data);
  walk.kept = memory_.data + (64 - address % 64) % 64 / sizeof(double);
  walk.stages = walk.kept + kept;
  return walk.stages + stages;
}

std::int64_t ReferenceWalk::numVoxels() const {
  const NmBox3i& box = walk.box;
  return (box.xmax - box.xmin + std::int64_t{1}) * (box.ymax - box.ymin + std::int64_t{1}) *
         (box.zmax - box.zmin + std::int64_t{1});
}

void walkAffine(const WalkArguments& arguments, RegMeanSquaredDifference& metric) {
  if (!arguments.isComplete(true)) return;
  NmBox3i slices = wholeGrid(arguments.referenceDims);
  slices.zmin = arguments.box.zmin;
  slices.zmax = arguments.box.zmax;
  const ReferenceWalk reference(arguments, slices);
  DifferenceSums sums;
  arguments.table.affineDifference[arguments.modelType](reference.walk, sums);
  addTo(metric, sums, reference.numVoxels());
}

void walkAffine(const WalkArguments& arguments, RegCorrelationRatio& metric) {
  if (!arguments.isComplete(true)) return;
  const ReferenceWalk reference(arguments, wholeGrid(arguments.referenceDims));
  CorrelationSums sums = emptySums(metric);
  arguments.table.affineCorrelation[arguments.modelType](reference.walk, sums);
  addTo(metric, sums, reference.numVoxels());
}

void walkAffine(const WalkArguments& arguments, RegMutualInformation& metric, int numHistograms) {
  if (!arguments.isComplete(true) || !metric.canAccumulate()) return;
  const ReferenceWalk reference(arguments, wholeGrid(arguments.referenceDims));
  WorkHistogram work(metric, numHistograms);
  arguments.table.affineHistogram[arguments.modelType](reference.walk, work.sums);
  work.finish(reference.numVoxels());
}

// The difference family and the other two form the step of a voxel along x and y from the walk's
// frame in their own ways, which round apart.
void walkBricks(const WalkArguments& arguments, const RegNonAffineTransform& grid,
                RegMeanSquaredDifference& metric) {
  if (!arguments.isComplete(false)) return;
  const int nx = arguments.referenceDims.x;
  const int ny = arguments.referenceDims.y;
  const NmVec3d& start = arguments.start;
  const double rowX = arguments.stepX.x * (nx - 1);
  const double rowY = arguments.stepX.y * (nx - 1);
  const double columnX = arguments.stepY.x * (ny - 1);
  const double columnY = arguments.stepY.y * (ny - 1);
  const double x = nx > 1 ? ((columnX + rowX + start.x) - start.x) / (nx - 1) : 1.0;
  const double y = ny > 1 ? ((rowY + start.y + columnY) - start.y) / (ny - 1) : 1.0;
  const ReferenceWalk reference(arguments, grid, x, y);
  DifferenceSums sums;
  if (canEvaluate(grid)) arguments.table.brickDifference[arguments.modelType](reference.walk, sums);
  addTo(metric, sums, reference.numVoxels());
}

void walkBricks(const WalkArguments& arguments, const RegNonAffineTransform& grid,
                RegCorrelationRatio& metric) {
  if (!arguments.isComplete(false)) return;
  const ReferenceWalk reference(arguments, grid, rangedStepX(arguments), rangedStepY(arguments));
  CorrelationSums sums = emptySums(metric);
  if (canEvaluate(grid))
    arguments.table.brickCorrelation[arguments.modelType](reference.walk, sums);
  addTo(metric, sums, reference.numVoxels());
}

void walkBricks(const WalkArguments& arguments, const RegNonAffineTransform& grid,
                RegMutualInformation& metric, int numHistograms) {
  if (!arguments.isComplete(false) || !metric.canAccumulate()) return;
  const ReferenceWalk reference(arguments, grid, rangedStepX(arguments), rangedStepY(arguments));
  WorkHistogram work(metric, numHistograms);
  if (canEvaluate(grid))
    arguments.table.brickHistogram[arguments.modelType](reference.walk, work.sums);
  work.finish(reference.numVoxels());
}

}  // namespace voxreg::detail
