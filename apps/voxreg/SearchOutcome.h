#pragma once

#include <cstdint>

namespace host {

/// What a search has cost.
struct SearchCounts {
  std::int64_t evaluations = 0;
  std::int64_t gradients = 0;

  /// Adds those that a registration has counted.
  template <class Registration>
  void add(const Registration& registration) {
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
