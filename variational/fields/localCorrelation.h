#pragma once

#include <cstdint>
#include <vector>

#include "foundation/NmVec.h"
#include "variational/fields/correlationTile.h"
#include "variational/fields/localCorrelationKernels.h"
#include "variational/fields/voxelField.h"

namespace voxreg::detail {

/// The local correlation of a reference and a warped model on one grid, and its force. Volumes have
/// been divided by their foregroundMean. The windows are cubes around the voxels that count, less
/// what is outside the grid. A voxel that is not a number, or above largestCorrelated in magnitude,
/// in one of the volumes is absent: it does not count, and windows leave it out. Voxels of the mask
/// that do not count are still in the windows of others.
class LocalCorrelation {
 public:
  struct Options {
    int radius = 2;            ///< voxels, from 1 to maxCorrelationRadius
    double eps = 0.004;        ///< variance that is added, so that flat regions count little; at
                               ///< least 1e-5
    bool anyContrast = false;  ///< whether negative correlation counts like positive, not as none
  };

  /// `reference` and `counts` (one byte a voxel, 0 if it does not count; empty: all count) are the
  /// caller's and stay.
  LocalCorrelation(const std::vector<float>& reference, const std::vector<unsigned char>& counts,
                   const NmVec3i& dims, const Options& options,
                   const LocalCorrelationKernels& kernels = localCorrelationKernels());

  /// The mean over counting voxels of the squared correlation in the windows around them; 0 if
  /// there are none. `force`, if given, receives the derivative of the sum of these by the warped
  /// model's voxels times its central differences in voxels (one-sided beside absent voxels and at
  /// borders; 0 along axes of one voxel); 0 where the voxel does not count.
  double evaluate(const std::vector<float>& warped, VoxelField* force) const;

 private:
  const std::vector<float>& reference_;
  const std::vector<unsigned char>& counts_;
  NmVec3i dims_;
  Options options_;
  const LocalCorrelationKernels& kernels_;
  CorrelationSpans spans_;
};

}  // namespace voxreg::detail
