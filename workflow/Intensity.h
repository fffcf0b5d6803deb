#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "foundation/VlData.h"

namespace voxreg {

/// Calls `visit` with each line of voxels along x, in memory order. False if the volume cannot be
/// read.
bool forEachRow(VlData& volume,
                const std::function<void(std::int64_t y, std::int64_t z, const float* row)>& visit);

/// The value below which a share (0 to 1) of the voxels lies. NaN is skipped; 0 if there are no
/// values. Uses the same amount of memory for any volume.
float percentile(VlData& volume, double share);

/// The same for several shares, by as many readings of the volume as for one.
std::vector<float> percentiles(VlData& volume, const std::vector<double>& shares);

}  // namespace voxreg
