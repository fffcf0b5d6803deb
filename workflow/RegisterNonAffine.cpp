#include "workflow/RegisterNonAffine.h"

#include <algorithm>
#include <cmath>

#include "workflow/VoxelOrder.h"
#include "workflow/refusal.h"
#include "workflow/search/brickRuns.h"
#include "workflow/search/information.h"
#include "workflow/search/judgement.h"
#include "workflow/search/metricProbe.h"
#include "workflow/search/searchSettings.h"
#include "workflow/search/startChoice.h"

namespace voxreg {

namespace {

using namespace detail;

constexpr int mostBricks = 32;  // on an axis

bool isCount(int bricks) {
  return bricks >= 1 && bricks <= mostBricks;
}

/// Grids of a quarter and half as many bricks, and the last one itself.
std::vector<NmVec3i> gridsUpTo(const NmVec3i& last) {
  std::vector<NmVec3i> grids;
  for (const int share : {4, 2, 1}) {
    const auto bricks = [&](int axis) { return (last[axis] + share - 1) / share; };
    const NmVec3i grid(bricks(0), bricks(1), bricks(2));
    if (grids.empty() || !(grids.back() == grid)) grids.push_back(grid);
  }
  return grids;
}

std::vector<NmVec3i> gridsOf(const NonAffineOptions& options, const NmVec3i& last) {
  const bool fits = isCount(last.x) && isCount(last.y) && isCount(last.z) &&
                    std::all_of(options.stages.begin(), options.stages.end(), isCount);
  if (!fits) throw Refusal("there must be 1 to 32 bricks on an axis");
  if (options.stages.empty()) return gridsUpTo(last);
  std::vector<NmVec3i> grids;
  for (const int count : options.stages)
    grids.emplace_back(std::min(count, last.x), std::min(count, last.y), std::min(count, last.z));
  grids.push_back(last);
  return grids;
}

void find(const Image& reference, const Image& model, const NonAffineOptions& options,
          Registration& found) {
  BrickTask task = {options.metric, options.search, {}, {}};
  requireSettings(task.metric);
  requireSettings(task.search);
  if (task.search.search == Search::exactDerivatives)
    throw Refusal("a grid of bricks has no search by exact derivatives");
  const NmMat4d given = givenMatrix(options.start);
  found.transform = Transform::fromModelToReference(given);
  const SearchedPair pair = searchedPair(reference, model);
  task.grids = gridsOf(options, options.bricks.value_or(defaultBricks(reference)));
  const BrickGrid::Grid before = startGrid(given, pair.reference, pair.model);
  found.transform = Transform::fromBricks(bricksInWorld(before, pair.reference, pair.model));
  requireInformation(reference, model, task.metric);
  constexpr double workOfStart = 1.0;
  constexpr double workOfSearch = 60.0;
  SearchProgress progress({{startCaption, workOfStart}, {"Registering", workOfSearch}},
                          options.progress);
  MetricProbe probe(pair.reference, pair.model, task.metric, task.search, fullResolution);
  task.start =
      options.start ? given : chooseStart(options.startRule, pair, task.metric, progress, found);
  const BrickGrid::Grid after = searchBricks(pair, task, progress, found);
  const BrickGrid bricks = bricksInWorld(after, pair.reference, pair.model);
  found.transform = Transform::fromBricks(bricks);
  found.metricBefore = probe.at(before);
  found.metricAfter = probe.at(after);
  found.smallestJacobian = bricks.smallestJacobian();
  judge(overlapOf(pair.reference, pair.model, found.transform), found);
}

}  // namespace

NmVec3i defaultBricks(const Image& reference) {
  constexpr float millimetres = 16.0f;
  constexpr std::int64_t leastVoxels = 3;
  NmVec3i bricks(1, 1, 1);
  if (!reference) return bricks;
  const WorldGrid grid = reference.grid();
  const std::optional<ImageFrame> frame =
      ImageFrame::of(VoxelOrder::nearestToWorld(grid).applied(grid));
  for (int a = 0; frame && a < 3; ++a) {
    const std::int64_t bySize = std::lround(frame->box.extent(a) / millimetres);
    const std::int64_t most =
        std::min(frame->dims[a] / leastVoxels, static_cast<std::int64_t>(mostBricks));
    bricks[a] = static_cast<int>(std::max(std::min(bySize, most), std::int64_t{1}));
  }
  return bricks;
}

Registration registerNonAffine(const Image& reference, const Image& model,
                               const NonAffineOptions& options) {
  return found<Registration>(
      [&](Registration& registration) { find(reference, model, options, registration); });
}

}  // namespace voxreg
