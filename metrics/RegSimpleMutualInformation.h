#pragma once

#include "metrics/RegMutualInformation.h"

/// H(ref) + H(model) - H(ref, model), times the coverage factor: at least 0 (Viola and Wells; Maes
/// et al., 1997).
class RegSimpleMutualInformation : public RegMutualInformation {
 public:
  using RegMutualInformation::RegMutualInformation;
  RegSimpleMutualInformation(const RegSimpleMutualInformation&) = delete;

  double getResult() override;
  double decrementIncrementAndGetResult() override;
};
