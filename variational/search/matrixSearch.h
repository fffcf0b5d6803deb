#pragma once

#include <vector>

#include "foundation/NmMat4d.h"
#include "variational/pyramid/searchLevel.h"
#include "variational/search/searchSummary.h"

class NmProgressInterface;

namespace voxreg::detail {

/// The search for a matrix that maps a reference to a model, both in their own frames.
struct MatrixSearch {
  SearchVolume reference;
  SearchVolume model;
  NmMat4d start;  ///< reference to model, from frame to frame, row vectors

  std::vector<LevelFactors> levels = {};  ///< coarse to fine
  std::vector<int> stages = {6, 12};  ///< degrees of freedom of the searches on the first level;
                                      ///< the others make the last of them only
  Comparison comparison = {};
  double relativeGain = 1e-5;
  int mostIterations = 60;  ///< of one search
  NmProgressInterface* progress = nullptr;

  /// Searches from coarse to fine. An interruption leaves the best matrix so far.
  NmMat4d run(SearchSummary& summary) const;
};

}  // namespace voxreg::detail
