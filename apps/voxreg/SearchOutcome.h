#pragma once

#include <voxreg.h>

namespace host {

/// What a search has cost.
struct SearchCounts {
  long evaluations = 0;
  long gradients = 0;

  /// Adds those of a registration's last run.
  void add(const RegVoxelRegistration& registration) {
    evaluations += registration.numEvaluations;
    gradients += registration.numGradients;
  }
};

/// How a search went.
struct SearchOutcome {
  SearchCounts counts;
  double seconds = 0.0;
  bool interrupted = false;
};

}  // namespace host
