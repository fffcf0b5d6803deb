#pragma once

namespace voxreg::detail {

/// The voxels of one axis that a sample is taken from, and their shares, which sum to 1. A voxel
/// without a share is left out, so that a NaN or an infinity in it does not matter.
struct AxisTaps {
  int count = 0;
  long index[6];
  double weight[6];
};

/// Fills `taps` for a position in voxels from 0 to n - 1 on an axis of n voxels.
using TapRule = void (*)(double position, long n, AxisTaps& taps);

void nearestTap(double position, long n, AxisTaps& taps);
void linearTaps(double position, long n, AxisTaps& taps);

/// Lanczos kernel with three lobes, sinc(x) sinc(x / 3). Taps beyond the ends are dropped and the
/// others scaled to the sum 1.
void lanczosTaps(double position, long n, AxisTaps& taps);

}  // namespace voxreg::detail
