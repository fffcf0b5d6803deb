#pragma once

#include <string>
#include <vector>

namespace host {

/// How a value between voxels comes about.
enum class Interpolation {
  nearest,  ///< the nearest voxel's; the lower one's of two that are equally near
  linear,   ///< a weighted mean of the two voxels around, on each axis
  cubic,    ///< convolution with Keys's cubic of 1981 for a = -1/2, over four voxels
  lanczos   ///< convolution with sinc(x) sinc(x / 3), over six voxels
};

/// The names that the command line has for them, in their order.
const std::vector<std::string>& interpolationNames();

/// Throws HostError for a name that is none of them.
Interpolation interpolationOf(const std::string& name);

/// The voxels of one axis that a value is taken from, one after the other, and their shares, which
/// sum to 1. A place on a voxel has that one only.
struct Taps {
  static constexpr int most = 6;

  long first;
  int count;
  double share[most];
};

/// For a place in voxels from 0 to n - 1. Taps beyond the ends are dropped and the others raised.
Taps tapsFor(Interpolation interpolation, double place, long n);

}  // namespace host
