#pragma once

#include <vector>

namespace voxreg::detail {

/// The mean of a volume's voxels above its bodyThreshold. NaN without such voxels, as in a constant
/// volume.
float foregroundMean(const std::vector<float>& voxels);

}  // namespace voxreg::detail
