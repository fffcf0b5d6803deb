#pragma once

#include "metrics/RegMutualInformation.h"

/// (H(ref) + H(model)) / H(ref, model), times the coverage factor: about 1 to 2 (Studholme et al.,
/// Pattern Recognition 32, 1999).
class RegNormMutualInformation : public RegMutualInformation {
 public:
  RegNormMutualInformation(NmPrimType typeRef, NmPrimType typeModel, double minReference,
                           double maxReference, double minimumModel, double maximumModel,
                           int binsRef, int binsModel, double minCoverageValue,
                           bool smoothCoveragePenaltyValue);
  RegNormMutualInformation(const RegNormMutualInformation& other) = default;

  double getResult() override;
  double decrementIncrementAndGetResult() override;
};
