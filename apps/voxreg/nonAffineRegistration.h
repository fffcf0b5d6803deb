#pragma once

#include "InterruptibleProgress.h"
#include "gridTransform.h"
#include "searchOptions.h"

namespace host {

/// What a registration on grids of bricks is to do.
struct NonAffineSettings {
  NonAffineSettings() { search.gradientTolerance = 1e-4f; }

  MetricSettings metric;
  SearchSettings search;
  std::vector<NmVec3i> grids;  ///< one after the other
  NmMat4d start;               ///< model world to reference world
};

struct NonAffineResult {
  GridTransform transform;
  double metric = 0.0;
  double seconds = 0.0;
  bool interrupted = false;
};

/// Registers the volumes at full resolution. An interruption leaves the best transform up to then.
NonAffineResult registerNonAffine(const NiftiVolume& reference, const NiftiVolume& model,
                                  const NonAffineSettings& settings,
                                  InterruptibleProgress& progress);

}  // namespace host
