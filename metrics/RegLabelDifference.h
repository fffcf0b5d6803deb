#pragma once

#include "metrics/RegMeanSquaredDifference.h"

/// Negated share of samples whose labels differ, from -1 to 0 before the coverage penalty. Only
/// increment and decrement compare labels: the sampling kernels pass it squared differences, as
/// they do for its base class.
class RegLabelDifference : public RegMeanSquaredDifference {
 public:
  RegLabelDifference(double minCoverageValue, bool smoothCoveragePenaltyValue);

  void increment(double ref, double model) override;
  void decrement(double ref, double model) override;
};
