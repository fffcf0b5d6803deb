#pragma once

#include "workflow/WorldGrid.h"

namespace voxreg {

/// The permutation and flips of a grid's axes that bring them closest to the world's. Registration
/// parameters cannot express a reflection, so a search sees every volume with axes of the same
/// handedness.
struct VoxelOrder {
  int gridAxis[3] = {0, 1, 2};              ///< the grid's axis for each new axis
  bool flipped[3] = {false, false, false};  ///< the new axis is opposite to the grid's

  static VoxelOrder nearestToWorld(const WorldGrid& grid);

  /// False if the voxels stay where they are.
  bool changesAnything() const;

  /// The same voxels at the same positions, counted along the new axes.
  WorldGrid applied(const WorldGrid& grid) const;
};

/// Where the voxels of one line of a grid are in the memory of the reordered volume.
struct MemoryLine {
  std::int64_t start;
  std::int64_t stride;
};

/// The line along the grid's first axis at (j, k).
MemoryLine memoryLine(const WorldGrid& grid, const VoxelOrder& order, std::int64_t j,
                      std::int64_t k);

}  // namespace voxreg
