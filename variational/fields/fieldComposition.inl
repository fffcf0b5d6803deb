#pragma once

#include "variational/fields/fieldSamples.inl"

/// One row of update(x) + field(x + update(x)).
class ComposedRow {
 public:
  ComposedRow(const float* const (&update)[3], const float* const (&field)[3], const NmVec3i& dims,
              int y, int z, float* const (&out)[3])
      : field_(field), sampler_(dims), nx_(dims.x), y_(y), z_(z) {
    const std::int64_t slice = std::int64_t{dims.x} * dims.y;
    const std::int64_t row = std::int64_t{dims.x} * y;
    for (int c = 0; c < 3; ++c) {
      update_[c] = update[c] + (slice * z + row);
      out_[c] = out[c] + row;
    }
    const int n[2] = {dims.y, dims.z};
    const int at[2] = {y, z};
    const std::int64_t step[2] = {dims.x, slice};
    for (int a = 0; a < 2; ++a) {
      back_[a] = static_cast<float>(-at[a]);
      ahead_[a] = static_cast<float>(n[a] - 1 - at[a]);
      line_[a][0] = at[a] * step[a];
      line_[a][1] = (at[a] > 0 ? at[a] - 1 : at[a]) * step[a];
      line_[a][2] = (at[a] + 1 < n[a] ? at[a] + 1 : at[a]) * step[a];
    }
  }

  void fill() {
    if (nx_ < 3 || !isNear()) return fillByGathers();
    if (nx_ - 2 < width)
      fillBetween<true>(1);
    else
      for (int i = 0; i < nx_ - 2; i += width) fillBetween<false>(1 + groupStart(i, nx_ - 2));
    fillEnds();
  }

 private:
  /// Whether no displacement of the row leads beyond the neighbouring voxels.
  bool isNear() const {
    Ints isFar = {};
    for (int i = 0; i < nx_; i += width) {
      const int x = groupStart(i, nx_);
      for (int c = 0; c < 3; ++c) {
        const Floats by = loadUpTo(update_[c] + x, nx_ - x);
        isFar |= ~((by <= all(1.0f)) & (by >= all(-1.0f)));
      }
    }
    return !FloatLanes::any(isFar);
  }

  void fillByGathers() {
    forEachGroup(
        update_, nx_, y_, z_,
        [&](const Floats(&position)[3], const Floats(&by)[3], int x, int n)
            __attribute__((always_inline)) {
              sampler_.locate(position);
              for (int c = 0; c < 3; ++c)
                storeUpTo(out_[c] + x, by[c] + sampler_.value(field_[c]), n);
            });
  }

  /// The first and the last voxel, which have no neighbour on one side.
  void fillEnds() {
    const int ends[2] = {0, nx_ - 1};
    float update[3][2];
    float composed[3][2];
    for (int c = 0; c < 3; ++c)
      for (int k = 0; k < 2; ++k) update[c][k] = update_[c][ends[k]];
    Floats position[3];
    const float start[3] = {0.0f, static_cast<float>(y_), static_cast<float>(z_)};
    for (int c = 0; c < 3; ++c) position[c] = loadSome(update[c], 2) + start[c];
    position[0][1] += static_cast<float>(nx_ - 1);
    sampler_.locate(position);
    for (int c = 0; c < 3; ++c) {
      storeSome(composed[c], loadSome(update[c], 2) + sampler_.value(field_[c]), 2);
      for (int k = 0; k < 2; ++k) out_[c][ends[k]] = composed[c][k];
    }
  }

  /// The neighbour that a displacement leads towards on one axis, and its share.
  struct Towards {
    Ints isBack;
    Floats share;

    [[gnu::always_inline]] explicit Towards(Floats by)
        : isBack(by < Floats{}), share(by < Floats{} ? -by : by) {}

    [[gnu::always_inline]] Floats neighbour(Floats before, Floats after) const {
      return isBack ? before : after;
    }

    [[gnu::always_inline]] Floats between(Floats here, Floats there) const {
      return here + share * (there - here);
    }
  };

  /// A group none of which is at an end: trilinear values from the neighbours, without gathers.
  template <bool isCut>
  void fillBetween(int x) {
    const int n = isCut ? nx_ - 1 - x : width;
    Floats by[3];
    for (int c = 0; c < 3; ++c) by[c] = loadUpTo(update_[c] + x, n);
    const Towards alongX(by[0]);
    const Towards alongY(limited(by[1], 0));
    const Towards alongZ(limited(by[2], 1));
    for (int c = 0; c < 3; ++c) {
      // Voxels towards which the displacements lead along x (bit 0) and y (bit 1), on each plane.
      Floats corner[3][4];
      for (int k = 0; k < 3; ++k) {
        Floats here[3];
        Floats beside[3];
        for (int j = 0; j < 3; ++j) {
          const float* const at = field_[c] + (line_[0][j] + line_[1][k]) + x;
          here[j] = loadUpTo(at, n);
          beside[j] = alongX.neighbour(loadUpTo(at - 1, n), loadUpTo(at + 1, n));
        }
        corner[k][0] = here[0];
        corner[k][1] = beside[0];
        corner[k][2] = alongY.neighbour(here[1], here[2]);
        corner[k][3] = alongY.neighbour(beside[1], beside[2]);
      }
      Floats lines[4];
      for (int i = 0; i < 4; ++i)
        lines[i] = alongZ.between(corner[0][i], alongZ.neighbour(corner[1][i], corner[2][i]));
      const Floats value =
          alongY.between(alongX.between(lines[0], lines[1]), alongX.between(lines[2], lines[3]));
      storeUpTo(out_[c] + x, by[c] + value, n);
    }
  }

  /// Keeps the row's displacements along y or z in the grid.
  [[gnu::always_inline]] Floats limited(Floats by, int axis) const {
    const Floats back = all(back_[axis]);
    const Floats ahead = all(ahead_[axis]);
    const Floats up = by > back ? by : back;
    return up < ahead ? up : ahead;
  }

  const float* const (&field_)[3];
  GroupSampler sampler_;
  int nx_;
  int y_;
  int z_;
  const float* update_[3];
  float* out_[3];
  float back_[2];
  float ahead_[2];
  std::int64_t line_[2][3];  ///< along y and z: this one, the one before, the one after
};

static void composeSliceOf(const float* const (&update)[3], const float* const (&field)[3],
                           const NmVec3i& dims, int z, float* const (&composed)[3]) {
  for (int y = 0; y < dims.y; ++y) ComposedRow(update, field, dims, y, z, composed).fill();
  FloatLanes::leave();
}
