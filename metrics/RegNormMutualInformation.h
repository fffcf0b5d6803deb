#pragma once

#include "metrics/RegMutualInformation.h"

/// (H(ref) + H(model)) / H(ref, model), times the coverage factor: about 1 to 2 (Studholme et al.,
/// Pattern Recognition 32, 1999).
class RegNormMutualInformation : public RegMutualInformation {
 public:
  using RegMutualInformation::RegMutualInformation;
  RegNormMutualInformation(const RegNormMutualInformation& other) = default;

  double getResult() override;
  double decrementIncrementAndGetResult() override;
};
