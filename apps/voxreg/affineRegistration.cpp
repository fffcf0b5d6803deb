#include "affineRegistration.h"

#include <algorithm>

#include "HostError.h"
#include "resampled.h"
#include "voxelRegistration.h"

namespace host {

namespace {

/// One run of the library: the two coarsest levels of a pyramid, or full resolution alone.
struct LevelRun {
  NmVec3i coarsest;         ///< 1 for full resolution
  std::vector<int> stages;  ///< one for full resolution
};

bool isFullResolution(const NmVec3i& factors) {
  return factors == NmVec3i(1, 1, 1);
}

/// The library has a switch for each of these stages; others come by another way, without a
/// pyramid.
constexpr int pyramidStages[] = {3, 6, 7, 12};

std::vector<int> pyramidStagesOf(const std::vector<int>& stages) {
  std::vector<int> found;
  for (const int stage : pyramidStages)
    if (std::find(stages.begin(), stages.end(), stage) != stages.end()) found.push_back(stage);
  return found;
}

/// A pyramid of a factor above 2 ends short of full resolution, and the next run begins a level
/// further down.
std::vector<LevelRun> planRuns(NmVec3i factors, const std::vector<int>& stages) {
  std::vector<LevelRun> runs;
  bool reachesFullResolution = false;
  while (!isFullResolution(factors)) {
    runs.push_back({factors, pyramidStagesOf(stages)});
    reachesFullResolution = std::max({factors.x, factors.y, factors.z}) == 2;
    for (int a = 0; a < 3; ++a) factors[a] = std::max(factors[a] / 4, 1);
  }
  const NmVec3i full(1, 1, 1);
  if (runs.empty())
    for (const int stage : stages) runs.push_back({full, {stage}});
  else if (!reachesFullResolution || runs.back().stages.back() != stages.back())
    runs.push_back({full, {stages.back()}});
  return runs;
}

void setStages(RegVoxelRegistration& registration, const LevelRun& run) {
  const auto isOn = [&](int stage) {
    return std::find(run.stages.begin(), run.stages.end(), stage) != run.stages.end() ? 1 : 0;
  };
  const bool alone = isFullResolution(run.coarsest);
  registration.affineStages = alone ? NmVec4i() : NmVec4i(isOn(3), isOn(6), isOn(7), isOn(12));
  registration.nonAffineStages = alone ? NmVec3i(run.stages.front(), 0, 0) : NmVec3i();
  registration.coarsestResampling = run.coarsest;
}

}  // namespace

AffineSettings::AffineSettings() {
  search.optimizer = "aggressive";
  search.steps = {8.0f, 0.03f};
  search.gradientTolerance = 1e-5f;
}

std::vector<int> stagesFor(int degreesOfFreedom) {
  if (degreesOfFreedom <= 6) return {degreesOfFreedom};
  return {6, degreesOfFreedom};
}

AffineResult registerAffine(const NiftiVolume& reference, const NiftiVolume& model,
                            const AffineSettings& settings, InterruptibleProgress& progress) {
  const NmWatch watch(true);
  RegVoxelRegistration registration =
      makeRegistration(reference, model, settings.metric, settings.search, progress);
  worldToFrames(settings.start, reference, model).getValue(registration.matrix);
  const std::vector<LevelRun> runs =
      planRuns(coarsestFactors(reference, model, settings.levels), settings.stages);
  for (std::size_t i = 0; i < runs.size() && !progress.wasInterrupted(); ++i) {
    progress.beginPart(i, runs.size());
    setStages(registration, runs[i]);
    if (!registration.compute(2) && !progress.wasInterrupted())
      throw HostError("the registration failed", HostError::failedRun);
    progress.endPart(registration.finalMetric);
  }
  progress.wipe();
  NmMat4d frames;
  frames.setValue(registration.matrix);
  return {framesToWorld(frames, reference, model), registration.finalMetric, watch.getTime(),
          progress.wasInterrupted()};
}

}  // namespace host
