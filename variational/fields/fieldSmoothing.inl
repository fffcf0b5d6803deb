#pragma once

#include "variational/fields/fieldLanes.inl"

/// A sum over lines of equal length: the one in the middle, then the pairs at each distance.
/// Writes n values.
template <int groups>
[[gnu::always_inline]] static inline void weighGroups(const float* const* lines,
                                                      const FilterTaps& taps, int i,
                                                      Floats (&sums)[groups]) {
  for (int g = 0; g < groups; ++g) sums[g] = taps.weights[0] * load(lines[0] + i + g * width);
  for (int k = 1; k <= taps.radius; ++k) {
    const float* const before = lines[2 * k - 1] + i;
    const float* const after = lines[2 * k] + i;
    for (int g = 0; g < groups; ++g)
      sums[g] = sums[g] + taps.weights[k] * (load(before + g * width) + load(after + g * width));
  }
}

static void weighLines(const float* const* lines, const FilterTaps& taps, int n, float* out) {
  constexpr int groups = 4;
  int i = 0;
  for (; i + groups * width <= n; i += groups * width) {
    Floats sums[groups];
    weighGroups(lines, taps, i, sums);
    for (int g = 0; g < groups; ++g) store(out + i + g * width, sums[g]);
  }
  for (; i < n; i += width) {
    Floats sums[1];
    weighGroups(lines, taps, i, sums);
    storeUpTo(out + i, sums[0], n - i);
  }
}

/// Lines from a function that gives the one at an index, for a place on an axis of n.
template <class LineAt>
[[gnu::always_inline]] static inline void chooseLines(int place, int n, int radius, LineAt lineAt,
                                                      const float** lines) {
  lines[0] = lineAt(place);
  for (int k = 1; k <= radius; ++k) {
    lines[2 * k - 1] = lineAt(place - k > 0 ? place - k : 0);
    lines[2 * k] = lineAt(place + k < n ? place + k : n - 1);
  }
}

class Smoothing {
 public:
  Smoothing(float* volume, const NmVec3i& dims, const FilterTaps (&taps)[3],
            const SmoothingScratch& scratch)
      : volume_(volume),
        nx_(dims.x),
        ny_(dims.y),
        nz_(dims.z),
        taps_(taps),
        scratch_(scratch),
        scratchSlice_(std::int64_t{scratch.stride} * dims.y) {}

  void run() {
    const int delay = taps_[2].radius;
    for (int z = 0; z < nz_; ++z) {
      takeSlice(z);
      if (z >= delay) putSlice(z - delay);
    }
    for (int z = nz_ > delay ? nz_ - delay : 0; z < nz_; ++z) putSlice(z);
  }

 private:
  float* ringSlice(int z) const { return scratch_.ring + z % scratch_.ringSlices * scratchSlice_; }

  float* row(int y, int z) const { return volume_ + (std::int64_t{z} * ny_ + y) * nx_; }

  /// A slice along x and y, into the ring.
  void takeSlice(int z) {
    for (int y = 0; y < ny_; ++y) {
      fillRow(row(y, z));
      const float* const start = scratch_.row + taps_[0].radius;
      const float** const lines = scratch_.lines;
      lines[0] = start;
      for (int k = 1; k <= taps_[0].radius; ++k) {
        lines[2 * k - 1] = start - k;
        lines[2 * k] = start + k;
      }
      weighLines(lines, taps_[0], scratch_.stride,
                 scratch_.slice + std::int64_t{y} * scratch_.stride);
    }
    float* const out = ringSlice(z);
    for (int y = 0; y < ny_; ++y) {
      chooseLines(
          y, ny_, taps_[1].radius,
          [&](int at) { return scratch_.slice + std::int64_t{at} * scratch_.stride; },
          scratch_.lines);
      weighLines(scratch_.lines, taps_[1], scratch_.stride,
                 out + std::int64_t{y} * scratch_.stride);
    }
  }

  void fillRow(const float* from) {
    const int radius = taps_[0].radius;
    float* const to = scratch_.row;
    for (int i = 0; i < radius; ++i) to[i] = from[0];
    for (int i = 0; i < nx_; ++i) to[radius + i] = from[i];
    for (int i = nx_; i < scratch_.stride + radius; ++i) to[radius + i] = from[nx_ - 1];
  }

  /// A slice along z, from the ring.
  void putSlice(int z) {
    chooseLines(
        z, nz_, taps_[2].radius, [&](int at) { return ringSlice(at); }, scratch_.lines);
    for (int y = 0; y < ny_; ++y) {
      weighLines(scratch_.lines, taps_[2], nx_, row(y, z));
      for (int k = 0; k <= 2 * taps_[2].radius; ++k) scratch_.lines[k] += scratch_.stride;
    }
  }

  float* volume_;
  int nx_;
  int ny_;
  int nz_;
  const FilterTaps (&taps_)[3];
  const SmoothingScratch& scratch_;
  std::int64_t scratchSlice_;
};

static void smoothVolume(float* volume, const NmVec3i& dims, const FilterTaps (&taps)[3],
                         const SmoothingScratch& scratch) {
  Smoothing(volume, dims, taps, scratch).run();
  FloatLanes::leave();
}
