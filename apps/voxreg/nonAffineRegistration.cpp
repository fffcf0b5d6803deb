#include "nonAffineRegistration.h"

#include "HostError.h"
#include "voxelRegistration.h"

namespace host {

namespace {

int codeOf(const NmVec3i& grid) {
  return grid.x * 10000 + grid.y * 100 + grid.z;
}

}  // namespace

NonAffineResult registerNonAffine(const NiftiVolume& reference, const NiftiVolume& model,
                                  const NonAffineSettings& settings,
                                  InterruptibleProgress& progress) {
  const NmWatch watch(true);
  RegVoxelRegistration registration =
      makeRegistration(reference, model, settings.metric, settings.search, progress);
  const InterruptibleProgress::Metric metric(progress, registration.finalMetric);
  registration.nonAffineResult = GridTransform::start(settings.start, reference, model);
  for (std::size_t i = 0; i < settings.grids.size() && !progress.wasInterrupted(); ++i) {
    progress.beginPart(i, settings.grids.size());
    registration.nonAffineStages = NmVec3i(codeOf(settings.grids[i]), 0, 0);
    if (!registration.compute(2) && !progress.wasInterrupted())
      throw HostError("the registration failed", HostError::failedRun);
    progress.endPart();
  }
  progress.wipe();
  return {GridTransform::fromFrames(registration.nonAffineResult, reference, model),
          registration.finalMetric, watch.getTime(), progress.wasInterrupted()};
}

}  // namespace host
