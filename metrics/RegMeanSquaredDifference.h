#pragma once

#include "metrics/RegMetric.h"

/// Negated mean of squared differences, divided by the coverage factor: at most 0, which is best.
class RegMeanSquaredDifference : public RegMetric {
 public:
  double sumNegSquaredDiff = 0.0;  ///< sum of -(ref - model)^2

  RegMeanSquaredDifference(double minCoverageValue, bool smoothCoveragePenaltyValue);

  void reset() override;
  double getResult() override;
  double decrementIncrementAndGetResult() override;
  void increment(double ref, double model) override;
  void decrement(double ref, double model) override;
};
