#include "metrics/RegLabelDifference.h"

RegLabelDifference::RegLabelDifference(double minCoverageValue, bool smoothCoveragePenaltyValue)
    : RegMeanSquaredDifference(minCoverageValue, smoothCoveragePenaltyValue) {}

void RegLabelDifference::increment(double ref, double model) {
  RegMetric::increment(ref, model);
  if (ref != model) sumNegSquaredDiff -= 1.0;
}

void RegLabelDifference::decrement(double ref, double model) {
  RegMetric::decrement(ref, model);
  if (ref != model) sumNegSquaredDiff += 1.0;
}
