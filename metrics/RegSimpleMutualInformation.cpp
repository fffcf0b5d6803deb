#include "metrics/RegSimpleMutualInformation.h"

#include <cstdint>

double RegSimpleMutualInformation::getResult() {
  if (numSamples == 0) return noStatement;
  double entropyRef;
  double entropyModel;
  double joint;
  getMarginalEntropies(entropyRef, entropyModel);
  getJointEntropy(joint);
  return (entropyRef + entropyModel - joint) * penaltyFactorForCoverage(0.0);
}

// Adds and removes in two passes, whose rounding differs from the single pass of the normalised
// form.
double RegSimpleMutualInformation::decrementIncrementAndGetResult() {
  prepareCombination();
  for (std::int64_t k = 0; k < jointHistogram.size; ++k)
    jointHistogram[k] = baselineHistogram[k] + jointHistogram[k];
  for (std::int64_t k = 0; k < jointHistogram.size; ++k)
    jointHistogram[k] = jointHistogram[k] - removedHistogram[k];
  return getResult();
}
