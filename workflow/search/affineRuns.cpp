#include "workflow/search/affineRuns.h"

#include <algorithm>
#include <string>

#include "foundation/NmWatch.h"
#include "workflow/PointMap.h"
#include "workflow/refusal.h"
#include "workflow/search/searchSettings.h"

namespace voxreg::detail {

namespace {

/// One run of the library: the two coarsest levels of a pyramid, or only full resolution.
struct LevelRun {
  NmVec3i coarsest;         ///< 1 at full resolution
  std::vector<int> stages;  ///< only one at full resolution
  bool isRefinement;        ///< of a result of the same stage on coarser levels

  bool isPyramid() const { return !(coarsest == NmVec3i(1, 1, 1)); }
  int levels() const { return isPyramid() ? 2 : 1; }
};

/// The library can switch each of these stages on in a pyramid; others run without a pyramid.
constexpr int pyramidStages[] = {3, 6, 7, 12};

std::vector<int> pyramidStagesOf(const std::vector<int>& stages) {
  std::vector<int> found;
  for (const int stage : pyramidStages)
    if (std::find(stages.begin(), stages.end(), stage) != stages.end()) found.push_back(stage);
  return found;
}

/// A pyramid with a factor above 2 ends before full resolution, and the next run starts a level
/// finer.
std::vector<LevelRun> planRuns(NmVec3i factors, const std::vector<int>& stages) {
  std::vector<LevelRun> runs;
  bool reachesFullResolution = false;
  std::vector<int> onLevels = pyramidStagesOf(stages);
  for (; !(factors == NmVec3i(1, 1, 1)); onLevels = {onLevels.back()}) {
    runs.push_back({factors, onLevels, !runs.empty()});
    reachesFullResolution = std::max({factors.x, factors.y, factors.z}) == 2;
    for (int a = 0; a < 3; ++a) factors[a] = std::max(factors[a] / 4, 1);
  }
  if (runs.empty()) {
    for (const int stage : stages) runs.push_back({factors, {stage}, false});
    return runs;
  }
  const bool isRefinement = onLevels.back() == stages.back();
  if (!reachesFullResolution || !isRefinement)
    runs.push_back({factors, {stages.back()}, isRefinement});
  return runs;
}

void setStages(RegVoxelRegistration& registration, const LevelRun& run) {
  const auto isOn = [&](int stage) {
    return std::find(run.stages.begin(), run.stages.end(), stage) != run.stages.end() ? 1 : 0;
  };
  const bool pyramid = run.isPyramid();
  registration.affineStages = pyramid ? NmVec4i(isOn(3), isOn(6), isOn(7), isOn(12)) : NmVec4i();
  registration.nonAffineStages = pyramid ? NmVec3i() : NmVec3i(run.stages.front(), 0, 0);
  registration.coarsestResampling = run.coarsest;
}

/// A refinement makes small steps, and fewer of them, since an evaluation is expensive by then. The
/// factor of 100 on the tolerance is empirical (docs/searches.md).
void setSearch(RegVoxelRegistration& registration, const LevelRun& run, int levelsAfter,
               const SearchOptions& search) {
  const int gradientLevels = search.gradientLevels - levelsAfter;
  registration.numGradientLevels = gradientLevels;
  registration.optimizerKind =
      gradientLevels >= run.levels() ? kindOf(Search::quasiNewton) : kindOf(searchByValues(search));
  registration.stepRange = run.isRefinement ? refiningSteps(search) : stepRange(search);
  registration.gradientStep =
      search.gradientTolerance.value_or(usualTolerance) * (run.isRefinement ? 100.0f : 1.0f);
}

int levelsFrom(const std::vector<LevelRun>& runs, std::size_t first) {
  int levels = 0;
  for (std::size_t i = first; i < runs.size(); ++i) levels += runs[i].levels();
  return levels;
}

/// Every search on every level. The time of an evaluation is proportional to the number of voxels.
std::vector<ProgressPlan::Stage> progressStages(const std::vector<LevelRun>& runs) {
  const std::string levels = std::to_string(levelsFrom(runs, 0));
  std::vector<ProgressPlan::Stage> stages;
  int level = 0;
  for (const LevelRun& run : runs) {
    NmVec3i factors = run.coarsest;
    for (int i = 0; i < run.levels(); ++i) {
      const std::string caption = "Registering, level " + std::to_string(++level) + " of " + levels;
      const double work = 1.0 / (static_cast<double>(factors.x) * factors.y * factors.z);
      stages.insert(stages.end(), run.stages.size(), {caption, work});
      for (int a = 0; a < 3; ++a) factors[a] = std::max(factors[a] / 2, 1);
    }
  }
  return stages;
}

}  // namespace

NmMat4d searchMatrix(const SearchedPair& pair, const AffineTask& task, SearchProgress& progress,
                     Registration& found) {
  const auto& [reference, model] = pair;
  const NmWatch watch(true);
  RegVoxelRegistration registration =
      makeRegistration(reference, model, task.metric, task.search, &progress);
  worldToFrames(task.start, reference, model).getValue(registration.matrix);
  const std::vector<LevelRun> runs =
      planRuns(coarsestFactors(reference, model, task.levels), task.stages);
  progress.enter("Registering", progressStages(runs));
  for (std::size_t i = 0; i < runs.size() && !progress.wasInterrupted(); ++i) {
    if (i > 0) progress.nextStage();
    progress.expectRuns(1, runs[i].levels() * static_cast<int>(runs[i].stages.size()));
    setStages(registration, runs[i]);
    setSearch(registration, runs[i], levelsFrom(runs, i + 1), task.search);
    computeRun(registration, progress, found);
  }
  NmMat4d frames;
  frames.setValue(registration.matrix);
  found.seconds = watch.getTime();
  found.interrupted = progress.wasInterrupted();
  return framesToWorld(frames, reference, model);
}

}  // namespace voxreg::detail
