#pragma once

#include <cstdint>

#include "workflow/Interpolation.h"

namespace voxreg::detail {

/// The successive voxels of one axis from which a value is computed, and their weights, which sum
/// to 1. At a voxel's centre there is only that voxel.
struct Taps {
  static constexpr int most = 6;

  std::int64_t first;
  int count;
  double share[most];
};

/// For a position in voxels from 0 to n - 1. Taps outside the ends are dropped and the others
/// scaled up.
Taps tapsFor(Interpolation interpolation, double place, std::int64_t n);

}  // namespace voxreg::detail
