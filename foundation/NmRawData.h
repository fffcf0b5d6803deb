#pragma once

#include <cstdint>

#include "foundation/NmProgressInterface.h"
#include "foundation/NmTypedPointer.h"

/// Operations on bare voxel blocks.
class NmRawData {
 public:
  /// Writes into `dst`, a block of the same voxel type, the mean of each cell of fx x fy x fz
  /// voxels of `src` (nx x ny x nz, x fastest). There are ceil(n / f) cells per axis, and a cell
  /// that reaches beyond the volume averages what it holds. The mean is formed in double and
  /// converted as VlDataAccess::putRow converts. `progress` is told each slice of cells and polled;
  /// an interruption leaves the slices that follow unwritten. A type that is not served, a null
  /// block or a factor below 1 writes nothing but an error line.
  static void downSample3D(void* dst, NmTypedPointer src, std::uint64_t nx, std::uint64_t ny,
                           std::uint64_t nz, int fx, int fy, int fz, NmProgressInterface* progress);
};
