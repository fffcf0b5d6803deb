#include "nonAffineRegistration.h"

#include <algorithm>
#include <cmath>

#include "HostError.h"
#include "voxelRegistration.h"

namespace host {

namespace {

/// The library's code of a grid. Bricks thinner than a flat volume's one voxel would hold each
/// other back.
int codeOf(const NmVec3i& grid, const NmVec3l& dims) {
  const auto bricks = [&](int axis) { return dims[axis] == 1 ? 1 : grid[axis]; };
  return bricks(0) * 10000 + bricks(1) * 100 + bricks(2);
}

/// A tolerance counts relative to the value, and that of cr comes close to 1 long before the
/// volumes lie on each other.
float toleranceFor(const MetricSettings& metric) {
  return metric.name == "cr" ? 1e-6f : 3e-4f;
}

/// What a coarse grid can follow shows in coarse volumes as well, as long as its bricks and the
/// volume keep some voxels.
NmVec3i reductionFor(const NmVec3i& grid, const NiftiVolume& reference) {
  constexpr long leastOfBrick = 6;
  constexpr long leastOfVolume = 24;
  NmVec3i factors(1, 1, 1);
  for (int a = 0; a < 3; ++a) {
    const long least = std::max(grid[a] * leastOfBrick, leastOfVolume);
    while (reference.frame.dims[a] >= 2 * factors[a] * least) factors[a] *= 2;
  }
  return factors;
}

/// One run of the library.
struct GridRun {
  int code;         ///< of the grid
  NmVec3i factors;  ///< of the reference's reduction
  bool isThorough;  ///< its result stands, but for what finer voxels add
};

/// Each grid on volumes as coarse as its bricks allow, then the last one at full resolution.
std::vector<GridRun> planRuns(const std::vector<NmVec3i>& grids, const NiftiVolume& reference) {
  std::vector<GridRun> runs;
  runs.reserve(grids.size() + 1);
  for (const NmVec3i& grid : grids)
    runs.push_back({codeOf(grid, reference.frame.dims), reductionFor(grid, reference), false});
  if (runs.empty()) return runs;
  runs.back().isThorough = true;
  if (!(runs.back().factors == fullResolution))
    runs.push_back({runs.back().code, fullResolution, false});
  return runs;
}

/// Finer grids take more steps, besides more voxels.
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

/// The gradient of a reduced volume takes its differences over as many of its voxels. What others
/// go on from, or have prepared, need not be searched as closely.
void setSearch(RegVoxelRegistration& registration, const GridRun& run,
               const SearchSettings& search) {
  const auto largest = static_cast<float>(std::max({run.factors.x, run.factors.y, run.factors.z}));
  const NmVec2f steps = search.stepRange();
  registration.stepRange = NmVec2f(steps.x, std::min(steps.x, largest * steps.y));
  registration.gradientStep = search.gradientTolerance * (run.isThorough ? 1.0f : 10.0f);
}

}  // namespace

NmVec3i defaultGrid(const NiftiVolume& reference) {
  constexpr float millimetres = 16.0f;
  constexpr long leastVoxels = 3;
  constexpr long mostBricks = 32;
  NmVec3i grid;
  for (int a = 0; a < 3; ++a) {
    const long bySize = std::lround(reference.frame.box.extent(a) / millimetres);
    const long most = std::min(reference.frame.dims[a] / leastVoxels, mostBricks);
    grid[a] = static_cast<int>(std::max(std::min(bySize, most), 1L));
  }
  return grid;
}

std::vector<NmVec3i> gridsUpTo(const NmVec3i& last) {
  std::vector<NmVec3i> grids;
  for (const int share : {4, 2, 1}) {
    const auto bricks = [&](int axis) { return (last[axis] + share - 1) / share; };
    const NmVec3i grid(bricks(0), bricks(1), bricks(2));
    if (grids.empty() || !(grids.back() == grid)) grids.push_back(grid);
  }
  return grids;
}

NonAffineResult registerNonAffine(const NiftiVolume& reference, const NiftiVolume& model,
                                  const NonAffineSettings& settings,
                                  InterruptibleProgress& progress) {
  const NmWatch watch(true);
  SearchSettings search = settings.search;
  if (!(search.gradientTolerance > 0.0f)) search.gradientTolerance = toleranceFor(settings.metric);
  RegVoxelRegistration registration =
      makeRegistration(reference, model, settings.metric, search, &progress);
  registration.nonAffineResult = GridTransform::start(settings.start, reference, model);
  const std::vector<GridRun> runs = planRuns(settings.grids, reference);
  progress.takeStopRequests();
  progress.enter("Registering", progressStages(runs, settings.grids));
  SearchOutcome outcome;
  for (std::size_t i = 0; i < runs.size() && !progress.wasInterrupted(); ++i) {
    if (i > 0) progress.nextStage();
    registration.nonAffineStages = NmVec3i(runs[i].code, 0, 0);
    setReducedVolumes(registration, reference, model, runs[i].factors);
    setSearch(registration, runs[i], search);
    if (!registration.compute(2) && !progress.wasInterrupted())
      throw HostError("the registration failed", HostError::failedRun);
    outcome.counts.add(registration);
  }
  outcome.seconds = watch.getTime();
  outcome.interrupted = progress.wasInterrupted();
  return {registration.nonAffineResult, outcome};
}

}  // namespace host
