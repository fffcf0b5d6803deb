#pragma once

#include <algorithm>
#include <cstdint>

#include "foundation/numbers/vectors.h"

namespace voxreg::detail {

/// Distances of pairs of points.
struct Distances {
  double sum = 0.0;
  double largest = 0.0;
  std::int64_t count = 0;

  void add(const NmVec3d& a, const NmVec3d& b) {
    const double distance = length(minus(a, b));
    sum += distance;
    largest = std::max(largest, distance);
    ++count;
  }

  double mean() const { return sum / static_cast<double>(count); }
};

}  // namespace voxreg::detail
