#pragma once

#include "InterruptibleProgress.h"
#include "SearchOutcome.h"
#include "gridTransform.h"
#include "searchSettings.h"

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
  GridTransform::Grid frames;  ///< reference's frame to model's frame
  SearchOutcome search;
};

/// A grid that suits most pairs: bricks of about 16 mm that hold three voxels at least on each
/// axis.
NmVec3i defaultGrid(const NiftiVolume& reference);

/// Grids of a quarter and half as many bricks, and the last one itself.
std::vector<NmVec3i> gridsUpTo(const NmVec3i& last);

/// Registers the volumes, each grid on volumes as coarse as its bricks allow and the last one at
/// full resolution in the end. An interruption leaves the best transform up to then.
NonAffineResult registerNonAffine(const NiftiVolume& reference, const NiftiVolume& model,
                                  const NonAffineSettings& settings,
                                  InterruptibleProgress& progress);

}  // namespace host
