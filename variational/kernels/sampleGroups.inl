#pragma once

#include "functional/kernels/lanes.inl"
#include "variational/kernels/derivativeWalk.h"

/// Voxels of a row that are sampled at a time.
static constexpr int chunkSize = 128;
static constexpr int partsPerGroup = groupSize / Lanes::width;

/// The voxels of a reference row to sample.
template <class Map>
static inline IndexSpan spanOf(const DerivativeFrame<Map>& frame, int y, int z) {
  if (frame.rows == nullptr) return {0, frame.walk.referenceDims[0]};
  return frame.rows[y + static_cast<std::int64_t>(frame.walk.referenceDims[1]) * z];
}

static inline bool isEmpty(const IndexSpan& span) {
  return span.end <= span.first;
}

/// The groups of a chunk that hold a sample.
struct SampleGroups {
  int count = 0;
  int x[chunkSize / groupSize];  ///< first voxel of each
  alignas(64) double reference[chunkSize];
  alignas(64) double model[chunkSize];
  typename Lanes::Mask counts[chunkSize / Lanes::width];
};

/// One subtotal for each voxel of a group.
class GroupSum {
 public:
  GroupSum() {
    for (auto& part : parts_) part = Lanes::all(0.0);
  }
  void add(int part, typename Lanes::Doubles value) { parts_[part] = parts_[part] + value; }
  double total() const {
    double values[groupSize];
    for (int p = 0; p < partsPerGroup; ++p) Lanes::store(values + p * Lanes::width, parts_[p]);
    double sum = 0.0;
    for (const double value : values) sum += value;
    return sum;
  }

 private:
  typename Lanes::Doubles parts_[partsPerGroup];
};
