#pragma once

#include "variational/fields/fieldLanes.inl"

/// Filters across lines. Those of `together` results next to each other are read once for all of
/// them: lines[0] is the first that the first result needs, and the tables rise by one line.
template <int together>
class LineFilter {
 public:
  LineFilter(const float* const* lines, const FilterTaps& taps) : lines_(lines), taps_(taps) {}

  /// n values of each result.
  void run(int n, float* const (&out)[together]) const {
    int i = 0;
    for (; i + groups * width <= n; i += groups * width) weigh<groups>(i, n, out);
    for (; i < n; i += width) weigh<1>(groupStart(i, n), n, out);
  }

 private:
  static constexpr int groups = together > 1 ? 2 : 4;

  template <int count>
  [[gnu::always_inline]] void weigh(int i, int n, float* const (&out)[together]) const {
    const float* const* const middle = lines_ + taps_.radius;
    Floats sums[together][count];
    for (int j = 0; j < together; ++j)
      for (int g = 0; g < count; ++g)
        sums[j][g] = taps_.weights[0] * load(middle[j] + i + g * width);
    for (int k = 1; k <= taps_.radius; ++k)
      for (int j = 0; j < together; ++j)
        for (int g = 0; g < count; ++g)
          sums[j][g] = sums[j][g] + taps_.weights[k] * (load(middle[j - k] + i + g * width) +
                                                        load(middle[j + k] + i + g * width));
    for (int j = 0; j < together; ++j)
      for (int g = 0; g < count; ++g) storeUpTo(out[j] + i + g * width, sums[j][g], n - i);
  }

  const float* const* lines_;
  const FilterTaps& taps_;
};

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
    const int delay = taps_[2].radius + together - 1;
    int next = 0;
    for (int z = 0; z < nz_; ++z) {
      filterAlongX(z);
      filterAlongY(ringSlice(z));
      if (z < next + delay) continue;
      filterAlongZ<together>(next);
      next += together;
    }
    for (; next + together <= nz_; next += together) filterAlongZ<together>(next);
    for (; next < nz_; ++next) filterAlongZ<1>(next);
  }

 private:
  static constexpr int together = linesTogether;

  float* ringSlice(int z) const { return scratch_.ring + z % scratch_.ringSlices * scratchSlice_; }

  float* row(int y, int z) const { return volume_ + (std::int64_t{z} * ny_ + y) * nx_; }

  float* line(int y, float* slice) const { return slice + std::int64_t{y} * scratch_.stride; }

  /// The lines for results from `place` on, on an axis of n.
  template <int count, class LineAt>
  [[gnu::always_inline]] void chooseLines(int place, int n, int radius, LineAt lineAt) const {
    for (int k = 0; k < 2 * radius + count; ++k) {
      const int at = place - radius + k;
      scratch_.lines[k] = lineAt(at < 0 ? 0 : at < n ? at : n - 1);
    }
  }

  void filterAlongX(int z) const {
    for (int k = 0; k <= 2 * taps_[0].radius; ++k) scratch_.lines[k] = scratch_.row + k;
    const LineFilter<1> filter(scratch_.lines, taps_[0]);
    for (int y = 0; y < ny_; ++y) {
      fillRow(row(y, z));
      filter.run(scratch_.stride, {line(y, scratch_.slice)});
    }
  }

  void fillRow(const float* from) const {
    const int radius = taps_[0].radius;
    float* const to = scratch_.row;
    for (int i = 0; i < radius; ++i) to[i] = from[0];
    for (int i = 0; i < nx_; ++i) to[radius + i] = from[i];
    for (int i = nx_; i < scratch_.stride + radius; ++i) to[radius + i] = from[nx_ - 1];
  }

  void filterAlongY(float* out) const {
    int y = 0;
    for (; y + together <= ny_; y += together) filterAlongY<together>(y, out);
    for (; y < ny_; ++y) filterAlongY<1>(y, out);
  }

  template <int count>
  void filterAlongY(int y, float* out) const {
    chooseLines<count>(y, ny_, taps_[1].radius, [&](int at) { return line(at, scratch_.slice); });
    float* results[count];
    for (int j = 0; j < count; ++j) results[j] = line(y + j, out);
    LineFilter<count>(scratch_.lines, taps_[1]).run(scratch_.stride, results);
  }

  template <int count>
  void filterAlongZ(int z) const {
    const int radius = taps_[2].radius;
    chooseLines<count>(z, nz_, radius, [&](int at) { return ringSlice(at); });
    const LineFilter<count> filter(scratch_.lines, taps_[2]);
    for (int y = 0; y < ny_; ++y) {
      float* results[count];
      for (int j = 0; j < count; ++j) results[j] = row(y, z + j);
      filter.run(nx_, results);
      for (int k = 0; k < 2 * radius + count; ++k) scratch_.lines[k] += scratch_.stride;
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
