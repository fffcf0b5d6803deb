#include "workflow/search/brickRuns.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "foundation/NmWatch.h"
#include "workflow/search/searchSettings.h"

namespace voxreg::detail {

namespace {

/// The library's code of a grid. On a flat axis there is one brick, since bricks thinner than the
/// one voxel would restrain each other.
int codeOf(const NmVec3i& grid, const NmVec3l& dims) {
  const auto bricks = [&](int axis) { return dims[axis] == 1 ? 1 : grid[axis]; };
  return bricks(0) * 10000 + bricks(1) * 100 + bricks(2);
}

/// A tolerance is relative to the value, and that of cr is close to 1 long before the volumes are
/// aligned. The values are empirical (docs/searches.md).
float toleranceFor(const MetricOptions& metric) {
  return metric.metric == Metric::correlationRatio ? 1e-6f : 3e-4f;
}

/// A coarse grid can use coarse volumes, as long as its bricks and the volume keep enough voxels
/// (empirical numbers, docs/searches.md).
NmVec3i reductionFor(const NmVec3i& grid, const Image& reference) {
  constexpr std::int64_t leastOfBrick = 6;
  constexpr std::int64_t leastOfVolume = 24;
  NmVec3i factors(1, 1, 1);
  for (int a = 0; a < 3; ++a) {
    const std::int64_t least = std::max(grid[a] * leastOfBrick, leastOfVolume);
    while (reference.dims()[a] >= 2 * factors[a] * least) factors[a] *= 2;
  }
  return factors;
}

/// One run of the library.
struct GridRun {
  int code;         ///< code of the grid
  NmVec3i factors;  ///< of the reference's reduction
  bool isThorough;  ///< its result is final, except for what finer voxels add
};

/// Each grid on volumes as coarse as its bricks allow, then the last one at full resolution.
std::vector<GridRun> planRuns(const std::vector<NmVec3i>& grids, const Image& reference) {
  std::vector<GridRun> runs;
  runs.reserve(grids.size() + 1);
  for (const NmVec3i& grid : grids)
    runs.push_back({codeOf(grid, reference.dims()), reductionFor(grid, reference), false});
  if (runs.empty()) return runs;
  runs.back().isThorough = true;
  if (!(runs.back().factors == fullResolution))
    runs.push_back({runs.back().code, fullResolution, false});
  return runs;
}

/// Finer grids take more steps, in addition to more voxels.
std::vector<ProgressPlan::Stage> progressStages(const std::vector<GridRun>& runs,
                                                const std::vector<NmVec3i>& grids) {
  const std::string count = std::to_string(runs.size());
  std::vector<ProgressPlan::Stage> stages;
  for (const GridRun& run : runs) {
    const NmVec3i& grid = grids[std::min(stages.size(), grids.size() - 1)];
    const double voxels =
        1.0 / (static_cast<double>(run.factors.x) * run.factors.y * run.factors.z);
    stages.push_back({"Registering, step " + std::to_string(stages.size() + 1) + " of " + count,
                      voxels * std::cbrt(static_cast<double>(grid.x) * grid.y * grid.z)});
  }
  return stages;
}

/// On a reduced volume the gradient takes its differences over the same number of voxels. Runs that
/// others continue, or that continue others, need not be searched as closely.
void setSearch(RegVoxelRegistration& registration, const GridRun& run, const SearchOptions& search,
               float tolerance) {
  const auto largest = static_cast<float>(std::max({run.factors.x, run.factors.y, run.factors.z}));
  const NmVec2f steps = stepRange(search);
  registration.stepRange = NmVec2f(steps.x, std::min(steps.x, largest * steps.y));
  registration.gradientStep = tolerance * (run.isThorough ? 1.0f : 10.0f);
}

}  // namespace

BrickGrid::Grid searchBricks(const SearchedPair& pair, const BrickTask& task,
                             SearchProgress& progress, Registration& found) {
  const auto& [reference, model] = pair;
  const NmWatch watch(true);
  const float tolerance = task.search.gradientTolerance.value_or(toleranceFor(task.metric));
  RegVoxelRegistration registration =
      makeRegistration(reference, model, task.metric, task.search, &progress);
  registration.nonAffineResult = startGrid(task.start, reference, model);
  const std::vector<GridRun> runs = planRuns(task.grids, reference);
  progress.enter("Registering", progressStages(runs, task.grids));
  for (std::size_t i = 0; i < runs.size() && !progress.wasInterrupted(); ++i) {
    if (i > 0) progress.nextStage();
    registration.nonAffineStages = NmVec3i(runs[i].code, 0, 0);
    setReducedVolumes(registration, reference, model, runs[i].factors);
    setSearch(registration, runs[i], task.search, tolerance);
    computeRun(registration, progress, found);
  }
  found.seconds = watch.getTime();
  found.interrupted = progress.wasInterrupted();
  return registration.nonAffineResult;
}

}  // namespace voxreg::detail
