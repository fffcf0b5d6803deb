#pragma once

#include <voxreg.h>

#include <vector>

namespace host {

/// The first data variable of every voxel, x fastest.
std::vector<float> voxelsOf(VlData& volume);

/// The value below which a share (0 to 1) of the values lies; NaN is passed over, and 0 stands for
/// no value at all.
float percentile(std::vector<float> values, double share);

}  // namespace host
