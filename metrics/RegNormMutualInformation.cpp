#include "metrics/RegNormMutualInformation.h"

#include <cstdint>

double RegNormMutualInformation::getResult() {
  if (numSamples == 0) return noStatement;
  double entropyRef;
  double entropyModel;
  double joint;
  getMarginalEntropies(entropyRef, entropyModel);
  getJointEntropy(joint);
  if (!(joint > 0.0)) return noStatement;
  return (entropyRef + entropyModel) * penaltyFactorForCoverage(0.8) / joint;
}

double RegNormMutualInformation::decrementIncrementAndGetResult() {
  prepareCombination();
  for (std::int64_t k = 0; k < jointHistogram.size; ++k)
    jointHistogram[k] = (baselineHistogram[k] - removedHistogram[k]) + jointHistogram[k];
  return getResult();
}
