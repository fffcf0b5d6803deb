#pragma once

#include "workflow/WorldGrid.h"

namespace voxreg {

/// The permutation and flips of a grid's axes that bring them closest to the world's. Registration
/// parameters cannot express a mirror, so that a search sees every volume with axes of one
/// handedness.
struct VoxelOrder {
  int gridAxis[3] = {0, 1, 2};              ///< the grid's axis along each of the new ones
  bool flipped[3] = {false, false, false};  ///< the new axis runs against the grid's

  static VoxelOrder nearestToWorld(const WorldGrid& grid);

  /// False where the voxels stay where they are.
  bool changesAnything() const;

  /// The same voxels at the same places, counted along the new axes.
  WorldGrid applied(const WorldGrid& grid) const;
};

/// Where the voxels of one line of a grid lie in the memory of the reordered volume.
struct MemoryLine {
  std::int64_t start;
  std::int64_t stride;
};

/// The line along the grid's first axis at (j, k).
MemoryLine memoryLine(const WorldGrid& grid, const VoxelOrder& order, std::int64_t j,
                      std::int64_t k);

}  // namespace voxreg
