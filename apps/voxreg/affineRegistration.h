#pragma once

#include <vector>

#include "InterruptibleProgress.h"
#include "SearchOutcome.h"
#include "niftiVolume.h"
#include "searchSettings.h"

namespace host {

/// What a rigid or affine registration is to do.
struct AffineSettings {
  MetricSettings metric;
  SearchSettings search;
  LevelSettings levels;
  std::vector<int> stages;  ///< degrees of freedom of the searches of a level: 3, 6, 7, 9, 12
  NmMat4d start;            ///< model world to reference world
};

struct AffineResult {
  NmMat4d matrix;  ///< model world to reference world, row vectors
  SearchOutcome search;
};

/// The searches that lead to a number of degrees of freedom.
std::vector<int> stagesFor(int degreesOfFreedom);

/// Registers the volumes in their own frames. An interruption leaves the best matrix up to then.
AffineResult registerAffine(const NiftiVolume& reference, const NiftiVolume& model,
                            const AffineSettings& settings, InterruptibleProgress& progress);

}  // namespace host
