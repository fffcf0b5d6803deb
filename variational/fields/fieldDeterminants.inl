#pragma once

#include "variational/fields/fieldLanes.inl"

/// Lines before and after a line on one axis, for the difference on either side. At a border both
/// are the one that exists.
struct LinePairs {
  std::int64_t lower[2];  ///< offsets of the lines
  std::int64_t upper[2];

  LinePairs(int at, int n, std::int64_t step) {
    const int before = at > 0 ? at - 1 : 0;
    const int after = at + 1 < n ? at + 1 : at;
    lower[0] = before * step;
    upper[0] = (at > 0 ? at : after) * step;
    lower[1] = (at + 1 < n ? at : before) * step;
    upper[1] = after * step;
  }
};

class DeterminantRow {
 public:
  DeterminantRow(const float* const (&field)[3], const NmVec3i& dims, int first, int end, int y,
                 int z, float* scratch)
      : field_(field),
        first_(first),
        count_(end - first),
        alongY_(y, dims.y, dims.x),
        alongZ_(z, dims.z, std::int64_t{dims.x} * dims.y),
        row_(std::int64_t{dims.x} * y),
        slice_(std::int64_t{dims.x} * dims.y * z),
        differences_(scratch),
        stride_(count_ + 1 + linePadding) {
    for (int c = 0; c < 3; ++c)
      fillDifferences(field[c] + (slice_ + row_), dims.x, differences_ + c * stride_);
  }

  void fill(float* smallest) const {
    for (int i = 0; i < count_; i += width) {
      const int start = groupStart(i, count_);
      storeUpTo(smallest + start, lowest(start), count_ - start);
    }
  }

 private:
  /// Differences along x: of the voxel with the one before at i, with the one after at i + 1.
  void fillDifferences(const float* row, int nx, float* differences) const {
    for (int i = count_ + 1; i < stride_; ++i) differences[i] = 0.0f;
    int from = 0;
    int to = count_ + 1;
    if (first_ == 0) from = 1;
    if (first_ + count_ == nx) to = count_;
    for (int i = from; i < to; ++i) differences[i] = row[first_ + i] - row[first_ + i - 1];
    if (nx == 1) differences[0] = differences[1] = row[0] - row[0];
    if (nx > 1 && from == 1) differences[0] = row[1] - row[0];
    if (nx > 1 && to == count_) differences[count_] = row[nx - 1] - row[nx - 2];
  }

  [[gnu::always_inline]] Floats difference(int c, std::int64_t lower, std::int64_t upper,
                                           int i) const {
    const float* const at = field_[c] + (first_ + i);
    return loadUpTo(at + upper, count_ - i) - loadUpTo(at + lower, count_ - i);
  }

  [[gnu::always_inline]] Floats lowest(int i) const {
    Floats x[2][3];
    Floats y[2][3];
    Floats z[2][3];
    for (int side = 0; side < 2; ++side)
      for (int c = 0; c < 3; ++c) {
        x[side][c] = load(differences_ + c * stride_ + i + side) + (c == 0 ? 1.0f : 0.0f);
        y[side][c] = difference(c, slice_ + alongY_.lower[side], slice_ + alongY_.upper[side], i) +
                     (c == 1 ? 1.0f : 0.0f);
        z[side][c] = difference(c, row_ + alongZ_.lower[side], row_ + alongZ_.upper[side], i) +
                     (c == 2 ? 1.0f : 0.0f);
      }
    Floats low = {};
    for (int corner = 0; corner < 4; ++corner) {
      const auto& b = y[corner & 1];
      const auto& c = z[corner >> 1];
      const Floats area[3] = {b[1] * c[2] - b[2] * c[1], b[2] * c[0] - b[0] * c[2],
                              b[0] * c[1] - b[1] * c[0]};
      for (int side = 0; side < 2; ++side) {
        const auto& a = x[side];
        const Floats volume = (a[0] * area[0] + a[1] * area[1]) + a[2] * area[2];
        if (corner == 0 && side == 0)
          low = volume;
        else
          low = volume < low ? volume : low;
      }
    }
    return low == low ? low : all(-__builtin_inff());
  }

  const float* const (&field_)[3];
  int first_;
  int count_;
  LinePairs alongY_;
  LinePairs alongZ_;
  std::int64_t row_;
  std::int64_t slice_;
  float* differences_;
  std::int64_t stride_;
};

static void fillDeterminants(const float* const (&field)[3], const NmVec3i& dims, int first,
                             int end, int y, int z, float* scratch, float* smallest) {
  DeterminantRow(field, dims, first, end, y, z, scratch).fill(smallest);
  FloatLanes::leave();
}

static float lowestValue(const float* values, std::int64_t n) {
  constexpr float infinity = __builtin_inff();
  Floats low = all(infinity);
  std::int64_t i = 0;
  for (; i + width <= n; i += width) {
    const Floats v = load(values + i);
    const Floats number = v == v ? v : all(-infinity);
    low = number < low ? number : low;
  }
  float lowest = infinity;
  for (int k = 0; k < width; ++k) lowest = low[k] < lowest ? low[k] : lowest;
  for (; i < n; ++i) {
    const float number = values[i] == values[i] ? values[i] : -infinity;
    lowest = number < lowest ? number : lowest;
  }
  FloatLanes::leave();
  return lowest;
}
