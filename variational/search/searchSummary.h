#pragma once

#include <cstdint>

#include "metrics/RegMetric.h"
#include "variational/search/lbfgs.h"

namespace voxreg::detail {

/// How a search went.
struct SearchSummary {
  std::int64_t evaluations = 0;  ///< of value and gradient
  int iterations = 0;
  double seconds = 0.0;
  bool interrupted = false;
  double metric = RegMetric::noStatement;  ///< of the samples of the last search, at its result

  void add(const Lbfgs::Summary& level) {
    evaluations += level.evaluations;
    iterations += level.iterations;
    interrupted = interrupted || level.interrupted;
  }
};

}  // namespace voxreg::detail
