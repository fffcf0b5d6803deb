#pragma once

#include <vector>

#include "functional/kernels/walk.h"
#include "variational/pyramid/levelVolume.h"

namespace voxreg::detail {

/// The value that parts a volume's body from the air around it: a tenth of the way from the 2nd to
/// the 98th percentile (empirical). NaN without values.
float bodyThreshold(const std::vector<float>& voxels);

/// Makes the voxels that are more than two voxels away, along each axis, from every voxel above the
/// threshold not count.
void skipFarFromBody(float threshold, LevelVolume& volume);

/// The first and last voxel of each row that count, y fastest; empty for rows without one.
std::vector<IndexSpan> countingSpans(const LevelVolume& volume);

}  // namespace voxreg::detail
