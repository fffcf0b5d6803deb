#pragma once

#include <optional>
#include <vector>

#include "variational/search/fieldSearch.h"
#include "workflow/DisplacementMap.h"
#include "workflow/LatticeMap.h"
#include "workflow/Registration.h"
#include "workflow/search/countingVoxels.h"
#include "workflow/search/searchProgress.h"

namespace voxreg::detail {

/// How a search for a field is made.
struct FieldTask {
  std::vector<FieldSearch::Level> levels;
  double elasticSigma;  ///< voxels
};

/// Searches a field that begins with a lattice's map; adds counts and time to `found`. Nothing if
/// it finds no more than the lattice. An interruption leaves the best map so far.
std::optional<DisplacementMap> searchField(const SearchedPair& pair, const CountingPair& counting,
                                           const LatticeMap& start, const FieldTask& task,
                                           SearchProgress& progress, Registration& found);

}  // namespace voxreg::detail
