#pragma once

#include <vector>

#include "workflow/Registration.h"
#include "workflow/search/frameGrids.h"
#include "workflow/search/searchProgress.h"
#include "workflow/search/searchedPair.h"
#include "workflow/search/voxelRegistration.h"

namespace voxreg::detail {

/// The searches for a grid of bricks.
struct BrickTask {
  MetricOptions metric;
  SearchOptions search;
  std::vector<NmVec3i> grids;  ///< in order; a flat axis takes one brick
  NmMat4d start;               ///< model world to reference world
};

/// Searches each grid on volumes as coarse as its bricks allow, and the last one at full
/// resolution. Returns the grid from frame to frame, and adds counts and time to `found`. An
/// interruption leaves the best grid so far.
BrickGrid::Grid searchBricks(const SearchedPair& pair, const BrickTask& task,
                             SearchProgress& progress, Registration& found);

}  // namespace voxreg::detail
