#pragma once

#include <vector>

#include "InterruptibleProgress.h"
#include "niftiVolume.h"

namespace host {

/// What a rigid or affine registration is to do.
struct AffineSettings {
  std::vector<int> stages;     ///< degrees of freedom of one search after the other: 3, 6, 7, 9, 12
  NmMat4d start;               ///< model world to reference world
  float largestStep = 8.0f;    ///< a search halves its steps, which are about millimetres,
  float smallestStep = 0.03f;  ///< from the largest to just above the smallest
};

struct AffineResult {
  NmMat4d matrix;  ///< model world to reference world, row vectors
  double metric = 0.0;
  double seconds = 0.0;
  bool interrupted = false;
};

/// The searches that lead to a number of degrees of freedom.
std::vector<int> stagesFor(int degreesOfFreedom);

/// Registers the volumes in their own frames. An interruption leaves the best matrix up to then.
AffineResult registerAffine(const NiftiVolume& reference, const NiftiVolume& model,
                            const AffineSettings& settings, InterruptibleProgress& progress);

}  // namespace host
