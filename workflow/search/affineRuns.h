#pragma once

#include <vector>

#include "workflow/Registration.h"
#include "workflow/search/searchProgress.h"
#include "workflow/search/searchedPair.h"
#include "workflow/search/voxelRegistration.h"

namespace voxreg::detail {

/// What the searches for a matrix are to do.
struct AffineTask {
  MetricOptions metric;
  SearchOptions search;
  LevelOptions levels;
  std::vector<int> stages;  ///< degrees of freedom of the searches of a level, in rising order
  NmMat4d start;            ///< model world to reference world
};

/// Runs the library on level after level, from coarse to full resolution. Returns the matrix, model
/// world to reference world, and adds counts and time to `found`. An interruption leaves the best
/// matrix up to then.
NmMat4d searchMatrix(const SearchedPair& pair, const AffineTask& task, SearchProgress& progress,
                     Registration& found);

}  // namespace voxreg::detail
