#pragma once

#include <cstdint>

#include "workflow/Interpolation.h"

namespace voxreg::detail {

/// The voxels of one axis that a value is taken from, one after the other, and their shares, which
/// sum to 1. A place on a voxel has that one only.
struct Taps {
  static constexpr int most = 6;

  std::int64_t first;
  int count;
  double share[most];
};

/// For a place in voxels from 0 to n - 1. Taps beyond the ends are dropped and the others raised.
Taps tapsFor(Interpolation interpolation, double place, std::int64_t n);

}  // namespace voxreg::detail
