#pragma once

#include "InterruptibleProgress.h"
#include "gridTransform.h"
#include "searchOptions.h"

namespace host {

/// What a registration on grids of bricks is to do.
struct NonAffineSettings {
  NonAffineSettings() { search.gradientTolerance = 0.0f; }  ///< what suits the metric

  MetricSettings metric;
  SearchSettings search;
  std::vector<NmVec3i> grids;  ///< one after the other; a flat axis takes one brick
  NmMat4d start;               ///< model world to reference world
};

struct NonAffineResult {
  GridTransform transform;
  double metric = 0.0;
  double seconds = 0.0;
  bool interrupted = false;
};

/// Registers the volumes, each grid on volumes as coarse as its bricks allow and the last one at
/// full resolution in the end. An interruption leaves the best transform up to then.
NonAffineResult registerNonAffine(const NiftiVolume& reference, const NiftiVolume& model,
                                  const NonAffineSettings& settings,
                                  InterruptibleProgress& progress);

}  // namespace host
