#include "nonAffineRegistration.h"

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
    registration.nonAffineStages = NmVec3i(codeOf(settings.grids[i], reference.frame.dims), 0, 0);
    if (!registration.compute(2) && !progress.wasInterrupted())
      throw HostError("the registration failed", HostError::failedRun);
    progress.endPart();
  }
  progress.wipe();
  return {GridTransform::fromFrames(registration.nonAffineResult, reference, model),
          registration.finalMetric, watch.getTime(), progress.wasInterrupted()};
}

}  // namespace host
