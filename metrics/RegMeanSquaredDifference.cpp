#include "metrics/RegMeanSquaredDifference.h"

RegMeanSquaredDifference::RegMeanSquaredDifference(double minCoverageValue,
                                                   bool smoothCoveragePenaltyValue)
    : RegMetric(minCoverageValue, smoothCoveragePenaltyValue) {}

void RegMeanSquaredDifference::reset() {
  RegMetric::reset();
  sumNegSquaredDiff = 0.0;
}

double RegMeanSquaredDifference::getResult() {
  if (numSamples == 0) return noStatement;
  return 1.0 / penaltyFactorForCoverage(0.001) * sumNegSquaredDiff /
         static_cast<double>(numSamples);
}

double RegMeanSquaredDifference::decrementIncrementAndGetResult() {
  return getResult();
}

void RegMeanSquaredDifference::increment(double ref, double model) {
  RegMetric::increment(ref, model);
  sumNegSquaredDiff -= (ref - model) * (ref - model);
}

void RegMeanSquaredDifference::decrement(double ref, double model) {
  RegMetric::decrement(ref, model);
  sumNegSquaredDiff += (ref - model) * (ref - model);
}
