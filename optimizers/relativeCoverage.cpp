#include "optimizers/relativeCoverage.h"

#include <algorithm>

#include "functional/RegFunctional.h"
#include "metrics/RegMetric.h"

namespace voxreg::detail {

double relativeCoverage(const RegFunctional& functional) {
  const RegMetric* const metric = functional.metric;
  if (metric == nullptr) return 0.0;
  const double coverage =
      metric->numTotalSamples > 0
          ? static_cast<double>(metric->numSamples) / static_cast<double>(metric->numTotalSamples)
          : 1.0;
  return metric->minCoverage > 0.0 ? std::min(coverage / metric->minCoverage, 1.0) : 1.0;
}

}  // namespace voxreg::detail
