#pragma once

#include <vector>

#include "workflow/Registration.h"
#include "workflow/search/searchProgress.h"
#include "workflow/search/searchedPair.h"
#include "workflow/search/voxelRegistration.h"

namespace voxreg::detail {

/// The searches for a matrix.
struct AffineTask {
  MetricOptions metric;
  SearchOptions search;
  LevelOptions levels;
  std::vector<int> stages;  ///< degrees of freedom of the searches of a level, in ascending order
  NmMat4d start;            ///< model world to reference world
};

/// Runs the library on successive levels, from coarse to full resolution. Returns the matrix, model
/// world to reference world, and adds counts and time to `found`. An interruption leaves the best
/// matrix so far.
NmMat4d searchMatrix(const SearchedPair& pair, const AffineTask& task, SearchProgress& progress,
                     Registration& found);

}  // namespace voxreg::detail
