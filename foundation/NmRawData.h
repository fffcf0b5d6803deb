#pragma once

#include <cstdint>

#include "foundation/NmProgressInterface.h"
#include "foundation/NmTypedPointer.h"

/// Operations on plain voxel blocks.
class NmRawData {
 public:
  /// Writes into `dst`, a block of the same voxel type, the mean of each cell of fx x fy x fz
  /// voxels of `src` (nx x ny x nz, x fastest). There are ceil(n / f) cells per axis, and a cell
  /// that extends past the volume averages the voxels that it contains. The mean is computed in
  /// double and converted as in VlDataAccess::putRow. `progress` is updated and polled for each
  /// slice of cells; an interruption leaves the remaining slices unwritten. For an unsupported
  /// type, a null block or a factor below 1 nothing is written except an error line.
  static void downSample3D(void* dst, NmTypedPointer src, std::uint64_t nx, std::uint64_t ny,
                           std::uint64_t nz, int fx, int fy, int fz, NmProgressInterface* progress);
};
