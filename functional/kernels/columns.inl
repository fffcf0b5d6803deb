#pragma once

#include "functional/kernels/lanes.inl"

/// Number of columns of a block that are processed at a time.
static constexpr int batchColumns = 32;

/// Samples in progress in a kernel: a column is the voxels of all rows of a block at one index
/// along x.
template <class Located>
struct Columns {
  static constexpr int capacity = batchColumns;

  int count = 0;
  typename Lanes::Mask counts[capacity];  ///< lanes whose sample counts
  alignas(64) double reference[capacity * Lanes::width];
  alignas(64) double model[capacity * Lanes::width];
  Located located[capacity];
};

/// The sum of lanes that hold small integers.
static inline std::int64_t wholeSumOf(typename Lanes::Doubles v) {
  double lanes[Lanes::width];
  Lanes::store(lanes, v);
  double sum = 0.0;
  for (const double lane : lanes) sum += lane;
  return static_cast<std::int64_t>(sum);
}
