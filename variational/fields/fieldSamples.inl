#pragma once

#include "variational/fields/fieldLanes.inl"

/// Trilinear values at a group of positions, which are clamped to the grid; NaN counts as 0.
class GroupSampler {
 public:
  explicit GroupSampler(const NmVec3i& dims)
      : count_(std::int64_t{dims.x} * dims.y * dims.z),
        isNarrow_(dims.x > 1 && count_ <= 0x7fffffff) {
    const int n[3] = {dims.x, dims.y, dims.z};
    std::int64_t step = 1;
    for (int a = 0; a < 3; ++a) {
      last_[a] = static_cast<float>(n[a] - 1);
      lastCell_[a] = n[a] > 1 ? n[a] - 2 : 0;
      step_[a] = step;
      toNext_[a] = n[a] > 1 ? step : 0;
      step *= n[a];
    }
  }

  /// Finds the cells of a group, for value().
  [[gnu::always_inline]] void locate(const Floats (&position)[3]) {
    Ints corner = {};
    for (int a = 0; a < 3; ++a) {
      Floats p = position[a] > Floats{} ? position[a] : Floats{};
      const Floats last = all(last_[a]);
      p = p < last ? p : last;
      Ints cell = __builtin_convertvector(p, Ints);
      const Ints lastCell = Ints{} + lastCell_[a];
      cell = cell < lastCell ? cell : lastCell;
      share_[a] = p - __builtin_convertvector(cell, Floats);
      if (isNarrow_)
        corner += cell * static_cast<int>(step_[a]);
      else
        cell_[a] = cell;
    }
    corner_ = corner;
  }

  [[gnu::always_inline]] Floats value(const float* volume) const {
    const Floats lower = inPlane(volume);
    const Floats upper = inPlane(volume + toNext_[2]);
    return lower + share_[2] * (upper - lower);
  }

  /// The value and its derivatives along the axes in the cell.
  [[gnu::always_inline]] Floats value(const float* volume, Floats (&slope)[3]) const {
    Floats line[2][2];
    Floats rise[2][2];
    for (int k = 0; k < 2; ++k)
      for (int j = 0; j < 2; ++j) {
        Floats upper;
        readPairs(volume + (k * toNext_[2] + j * toNext_[1]), line[k][j], upper);
        rise[k][j] = upper - line[k][j];
        line[k][j] = line[k][j] + share_[0] * rise[k][j];
      }
    Floats plane[2];
    Floats rises[2];
    Floats slopes[2];
    for (int k = 0; k < 2; ++k) {
      slopes[k] = line[k][1] - line[k][0];
      plane[k] = line[k][0] + share_[1] * slopes[k];
      rises[k] = rise[k][0] + share_[1] * (rise[k][1] - rise[k][0]);
    }
    slope[0] = rises[0] + share_[2] * (rises[1] - rises[0]);
    slope[1] = slopes[0] + share_[2] * (slopes[1] - slopes[0]);
    slope[2] = plane[1] - plane[0];
    return plane[0] + share_[2] * slope[2];
  }

 private:
  [[gnu::always_inline]] Floats inPlane(const float* volume) const {
    const Floats lower = inLine(volume);
    const Floats upper = inLine(volume + toNext_[1]);
    return lower + share_[1] * (upper - lower);
  }

  [[gnu::always_inline]] Floats inLine(const float* volume) const {
    Floats lower;
    Floats upper;
    readPairs(volume, lower, upper);
    return lower + share_[0] * (upper - lower);
  }

  [[gnu::always_inline]] void readPairs(const float* volume, Floats& lower, Floats& upper) const {
    if (isNarrow_)
      FloatLanes::gatherPairs(volume, corner_, lower, upper);
    else
      gatherFar(volume, lower, upper);
  }

  /// Without pairs along x, or where voxels have numbers beyond the range of int.
  [[gnu::noinline]] void gatherFar(const float* volume, Floats& lower, Floats& upper) const {
    for (int i = 0; i < width; ++i) {
      const float* const at =
          volume + (cell_[0][i] + step_[1] * cell_[1][i] + step_[2] * cell_[2][i]);
      lower[i] = at[0];
      upper[i] = at[toNext_[0]];
    }
  }

  std::int64_t count_;
  bool isNarrow_;
  float last_[3];
  int lastCell_[3];
  std::int64_t step_[3];
  std::int64_t toNext_[3];
  Ints corner_ = {};
  Ints cell_[3] = {};
  Floats share_[3] = {};
};

/// 0, 1, 2 ...
[[gnu::always_inline]] static inline Floats placesInGroup() {
  float places[width];
  for (int i = 0; i < width; ++i) places[i] = static_cast<float>(i);
  return load(places);
}

/// Calls visit(positions, displacements, x, voxels of the group at most) for the groups of a row,
/// to whose first voxels the displacements are.
template <class Visit>
[[gnu::always_inline]] static inline void forEachGroup(const float* const (&row)[3], int nx, int y,
                                                       int z, Visit visit) {
  const Floats inGroup = placesInGroup();
  for (int i = 0; i < nx; i += width) {
    const int x = groupStart(i, nx);
    const int n = nx - x;
    Floats by[3];
    for (int c = 0; c < 3; ++c) by[c] = loadUpTo(row[c] + x, n);
    const Floats position[3] = {by[0] + (inGroup + static_cast<float>(x)),
                                by[1] + static_cast<float>(y), by[2] + static_cast<float>(z)};
    visit(position, by, x, n);
  }
}

static void warpSliceOf(const float* volume, const float* const (&displacement)[3],
                        const NmVec3i& dims, int z, float* warped) {
  GroupSampler sampler(dims);
  for (int y = 0; y < dims.y; ++y) {
    const std::int64_t row = std::int64_t{dims.x} * y;
    const std::int64_t from = std::int64_t{dims.x} * dims.y * z + row;
    forEachGroup(
        {displacement[0] + from, displacement[1] + from, displacement[2] + from}, dims.x, y, z,
        [&](const Floats(&position)[3], const Floats(&)[3], int x, int n)
            __attribute__((always_inline)) {
              sampler.locate(position);
              storeUpTo(warped + row + x, sampler.value(volume), n);
            });
  }
  FloatLanes::leave();
}
