#include "functional/referenceWalk.h"

#include <algorithm>
#include <cstdint>

#include "foundation/voxels/volumeFrame.h"
#include "transforms/RegNonAffineTransform.h"

namespace voxreg::detail {
namespace {

/// Positions of the voxels along one axis in a grid of bricks.
struct PlacesInGrid {
  double first;
  double step;
  std::int64_t count;
  double bricksPerUnit;
  int numBricks;
};

/// The voxels of the box that exist in the reference; the default box if there are none.
NmBox3i cut(const NmBox3i& box, const WalkFrame& frame) {
  const NmBox3i inside = box.intersection(wholeReference(frame));
  return inside.isEmpty() ? NmBox3i() : inside;
}

/// Calls f(i, place) for the positions of voxels 0 .. count - 1 along an axis, computed by repeated
/// addition.
template <class F>
void forEachPlace(const PlacesInGrid& run, F f) {
  double at = run.first;
  for (std::int64_t i = 0; i < run.count; ++i, at += run.step)
    f(i, placeInBricks(run.bricksPerUnit * at, run.numBricks));
}

IndexSpan touchedBy(const PlacesInGrid& run) {
  int first = run.numBricks;
  int end = 0;
  forEachPlace(run, [&](std::int64_t, const BrickPlace& place) {
    first = std::min(first, place.brick);
    end = std::max(end, place.brick + 1);
  });
  return {first, std::max(end, first)};
}

}  // namespace

bool isComplete(const WalkFrame& frame) {
  return frame.reference != nullptr && frame.model != nullptr &&
         *std::min_element(frame.referenceDims, frame.referenceDims + 3) >= 1 &&
         *std::min_element(frame.modelDims, frame.modelDims + 3) >= 1;
}

NmBox3i wholeReference(const WalkFrame& frame) {
  const int* const n = frame.referenceDims;
  return allVoxels(NmVec3i(n[0], n[1], n[2]));
}

bool canEvaluate(const RegNonAffineTransform& grid) {
  return grid.hasVertices() && grid.coefficients.size >= brickDoubles * grid.brickCount();
}

GridSteps GridSteps::ranged(const WalkFrame& frame) {
  const auto& [right, down, out] = frame.step;
  const int nx = frame.referenceDims[0];
  const int ny = frame.referenceDims[1];
  return {nx < 2 ? 1.0 : (right[0] * (nx - 1) + down[0] * (ny - 1)) / (nx - 1),
          ny < 2 ? 1.0 : (right[1] * (nx - 1) + down[1] * (ny - 1)) / (ny - 1)};
}

ReferenceWalk::ReferenceWalk(const WalkFrame& frame, const NmBox3i& box) {
  setFrame(frame, box);
  std::copy_n(walk.step[1], 3, walk.rowStep);
  takeMemory(0);
}

ReferenceWalk::ReferenceWalk(const WalkFrame& frame, const RegNonAffineTransform& grid,
                             const GridSteps& steps) {
  setFrame(frame, frame.box);
  const NmBox3f& box = grid.referenceBox;
  WalkedBricks& bricks = walk.grid;
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
      wide ? (walk.start[0] + walk.box.xmin * steps.x - box.xmin) * nx / x : 0.0,
      wide ? steps.x * nx / x : 1.0, walk.box.xmax - walk.box.xmin + std::int64_t{1}, 1.0,
      bricks.numBricks[0]};
  const PlacesInGrid rows = {high ? (walk.start[1] + walk.box.ymin * steps.y - box.ymin) / y : 0.0,
                             high ? steps.y / y : 1.0,
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

void ReferenceWalk::setFrame(const WalkFrame& frame, const NmBox3i& box) {
  static_cast<WalkFrame&>(walk) = frame;
  walk.box = cut(box, frame);
}

double* ReferenceWalk::takeMemory(std::int64_t numPlaces) {
  constexpr std::int64_t alignment = 64 / sizeof(double);
  constexpr std::int64_t placeDoubles = sizeof(BrickPlace) / sizeof(double);
  const IndexSpan* const touched = walk.grid.touched;
  const std::int64_t kept = keptDoubles * (walk.box.xmax - walk.box.xmin + 1 + maxLanes);
  const std::int64_t stages =
      stageDoubles(touched[0].end - touched[0].first, touched[1].end - touched[1].first);
  // Reserved but not filled: a kernel reads only what it has written.
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

}  // namespace voxreg::detail
