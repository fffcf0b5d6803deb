#include "metrics/RegMetric.h"

#include <algorithm>

RegMetric::RegMetric(double minCoverageValue, bool smoothCoveragePenaltyValue)
    : minCoverage(minCoverageValue), smoothCoveragePenalty(smoothCoveragePenaltyValue) {}

RegMetric::~RegMetric() = default;

void RegMetric::reset() {
  numSamples = 0;
  numTotalSamples = 0;
}

void RegMetric::setOtherParams(RegMetricParamType /*type*/) {}

void RegMetric::increment(double /*ref*/, double /*model*/) {
  ++numSamples;
  ++numTotalSamples;
}

void RegMetric::decrement(double /*ref*/, double /*model*/) {
  --numSamples;
  --numTotalSamples;
}

bool RegMetric::supportsMarginalMetric() {
  return false;
}

double RegMetric::penaltyFactorForCoverage(double minFactor) const {
  if (!(minCoverage > 0.0)) return 1.0;
  const double coverage =
      numTotalSamples > 0 ? static_cast<double>(numSamples) / static_cast<double>(numTotalSamples)
                          : 1.0;
  const double relative = std::max(std::min(coverage / minCoverage, 1.0), 0.0);
  const double floor = std::min(std::max(minFactor, 0.0), 1.0);
  const double missing = 1.0 - relative;
  double factor;
  if (smoothCoveragePenalty)
    factor = (1.0 - floor) * (1.0 - missing * missing) + floor;
  else
    factor = relative < 0.2 ? 5.0 * relative : 1.0;
  return std::min(1.0, std::max(factor, floor));
}
