#pragma once

#include "variational/kernels/sampleGroups.inl"

/// The cells along x of the voxels of a span.
static inline IndexSpan cellsOf(const TensorAxis& axis, const IndexSpan& span) {
  return {axis.cell[span.first], axis.cell[span.end - 1] + 1};
}

/// Positions under a tensor-product map. The controls are contracted along z for a slice, then
/// along y for a row, where they become one cubic polynomial for each cell.
class TensorPositions {
 public:
  TensorPositions(const DerivativeFrame<TensorMap>& frame, double* scratch)
      : map_(frame.map),
        nx_(map_.axes[0].numControls),
        ny_(map_.axes[1].numControls),
        nz_(map_.axes[2].numControls),
        padded_(paddedControls(map_)),
        slice_(scratch),
        row_(scratch + 3 * padded_ * ny_),
        powers_(row_ + 3 * padded_) {
    for (std::int64_t i = 0; i < taken(map_); ++i) scratch[i] = 0.0;
  }

  /// Doubles of the scratch that are taken.
  static std::int64_t taken(const TensorMap& map) {
    return paddedControls(map) * (3 * (std::int64_t{map.axes[1].numControls} + 1) + 12);
  }

  void startSlice(int z) {
    const TensorAxis& axis = map_.axes[2];
    const std::int64_t plane = std::int64_t{nx_} * ny_;
    const double* const w = axis.weights + 4 * std::int64_t{z};
    for (int c = 0; c < 3; ++c)
      for (int y = 0; y < ny_; ++y) {
        const double* const from =
            map_.controls + plane * (axis.cell[z] + std::int64_t{nz_} * c) + std::int64_t{nx_} * y;
        double* const to = slice_ + padded_ * (y + std::int64_t{ny_} * c);
        for (int x = 0; x < nx_; ++x)
          to[x] = ((w[0] * from[x] + w[1] * from[x + plane]) + w[2] * from[x + 2 * plane]) +
                  w[3] * from[x + 3 * plane];
      }
  }

  /// For the voxels of a span, which is not empty.
  void startRow(int y, const IndexSpan& span) {
    const TensorAxis& axis = map_.axes[1];
    const Weights along(axis.weights + 4 * std::int64_t{y});
    const IndexSpan cells = cellsOf(map_.axes[0], span);
    for (int c = 0; c < 3; ++c) {
      const double* const from = slice_ + padded_ * (axis.cell[y] + std::int64_t{ny_} * c);
      double* const controls = row_ + padded_ * c;
      for (int i = cells.first; i < cells.end + 3; i += Lanes::width)
        Lanes::store(controls + i, along.of(from + i, padded_));
    }
    for (int k = 0; k < 4; ++k) {
      const Weights toPower(map_.toPowers[k]);
      for (int c = 0; c < 3; ++c) {
        double* const powers = powers_ + padded_ * (4 * c + k);
        for (int i = cells.first; i < cells.end; i += Lanes::width)
          Lanes::store(powers + i, toPower.of(row_ + padded_ * c + i, 1));
      }
    }
  }

  /// The positions of voxels x .. x + n - 1; writes up to groupSize beyond them.
  void fill(int x, int n, double (*position)[chunkSize + groupSize]) const {
    const TensorAxis& axis = map_.axes[0];
    for (int i = 0; i < n;) {
      const int cell = axis.cell[x + i];
      int end = i + 1;
      while (end < n && axis.cell[x + end] == cell) ++end;
      for (int c = 0; c < 3; ++c) {
        const double* const p = powers_ + padded_ * 4 * c + cell;
        const auto p0 = Lanes::all(p[0]);
        const auto p1 = Lanes::all(p[padded_]);
        const auto p2 = Lanes::all(p[2 * padded_]);
        const auto p3 = Lanes::all(p[3 * padded_]);
        for (int j = i; j < end; j += Lanes::width) {
          const auto t = Lanes::load(axis.local + x + j);
          Lanes::store(position[c] + j, ((p3 * t + p2) * t + p1) * t + p0);
        }
      }
      i = end;
    }
  }

 private:
  /// Four weights for neighbours at a stride.
  struct Weights {
    using Doubles = typename Lanes::Doubles;

    explicit Weights(const double* w)
        : w0(Lanes::all(w[0])), w1(Lanes::all(w[1])), w2(Lanes::all(w[2])), w3(Lanes::all(w[3])) {}

    [[gnu::always_inline]] Doubles of(const double* from, std::int64_t stride) const {
      return ((w0 * Lanes::load(from) + w1 * Lanes::load(from + stride)) +
              w2 * Lanes::load(from + 2 * stride)) +
             w3 * Lanes::load(from + 3 * stride);
    }

    Doubles w0;
    Doubles w1;
    Doubles w2;
    Doubles w3;
  };

  const TensorMap& map_;
  int nx_;
  int ny_;
  int nz_;
  std::int64_t padded_;
  double* slice_;   ///< controls of the slice: x, y, component
  double* row_;     ///< controls of the row: x, component
  double* powers_;  ///< polynomials of the row: cell, power, component
};

/// The transpose of TensorPositions: vectors at each voxel become a gradient by the controls.
class TensorGradient {
 public:
  TensorGradient(const DerivativeFrame<TensorMap>& frame, double* scratch, double* gradient)
      : map_(frame.map),
        nx_(map_.axes[0].numControls),
        ny_(map_.axes[1].numControls),
        nz_(map_.axes[2].numControls),
        padded_(paddedControls(map_)),
        slice_(scratch),
        row_(scratch + 3 * padded_ * ny_),
        gradient_(gradient) {}

  void startSlice(int /*z*/) { clear(slice_, 3 * padded_ * ny_); }

  /// For the voxels of a span, which is not empty.
  void startRow(int /*y*/, const IndexSpan& span) {
    cells_ = cellsOf(map_.axes[0], span);
    for (int c = 0; c < 3; ++c)
      clear(row_ + padded_ * c + cells_.first, cells_.end + groupSize + 2 - cells_.first);
    cell_ = -1;
  }

  /// The vectors of groupSize voxels from x on; component c of voxel i is q[c * stride + i].
  [[gnu::always_inline]] void add(int x, const double* q, std::int64_t stride) {
    const int* const cell = map_.axes[0].cell + x;
    const double* const weights = map_.axes[0].weights + 4 * std::int64_t{x};
    for (int i = 0; i < groupSize;) {
      if (cell[i] != cell_) moveTo(cell[i]);
      int end = i + 1;
      while (end < groupSize && cell[end] == cell_) ++end;
      addRun(weights, q, stride, i, end);
      i = end;
    }
  }

  void endRow(int y) {
    moveTo(-1);
    const TensorAxis& axis = map_.axes[1];
    typename Lanes::Doubles weights[4];
    for (int k = 0; k < 4; ++k) weights[k] = Lanes::all(axis.weights[4 * std::int64_t{y} + k]);
    for (int c = 0; c < 3; ++c) {
      const double* const from = row_ + padded_ * c;
      double* const to = slice_ + padded_ * (axis.cell[y] + std::int64_t{ny_} * c);
      for (int i = cells_.first; i < cells_.end + 3; i += Lanes::width) {
        const auto value = Lanes::load(from + i);
        for (int k = 0; k < 4; ++k) {
          double* const at = to + padded_ * k + i;
          Lanes::store(at, Lanes::load(at) + weights[k] * value);
        }
      }
    }
  }

  void endSlice(int z) {
    const TensorAxis& axis = map_.axes[2];
    const double* const w = axis.weights + 4 * std::int64_t{z};
    for (int c = 0; c < 3; ++c)
      for (int k = 0; k < 4; ++k)
        for (int y = 0; y < ny_; ++y) {
          const double* const from = slice_ + padded_ * (y + std::int64_t{ny_} * c);
          double* const to =
              gradient_ + nx_ * (y + ny_ * (axis.cell[z] + k + std::int64_t{nz_} * c));
          for (int x = 0; x < nx_; ++x) to[x] += w[k] * from[x];
        }
  }

 private:
  using Four = double __attribute__((vector_size(32)));

  static void load(const double* p, Four& four) { __builtin_memcpy(&four, p, sizeof four); }

  /// Voxels [i, end), of the present cell. Every other voxel has sums of its own, which halves the
  /// wait of an addition for the one before.
  [[gnu::always_inline]] void addRun(const double* weights, const double* q, std::int64_t stride,
                                     int i, int end) {
    Four first[3];
    Four second[3];
    for (int c = 0; c < 3; ++c) {
      first[c] = sums_[c];
      second[c] = Four{};
    }
    for (; i + 1 < end; i += 2) {
      Four w;
      Four v;
      load(weights + 4 * i, w);
      load(weights + 4 * i + 4, v);
      for (int c = 0; c < 3; ++c) {
        first[c] = first[c] + w * q[c * stride + i];
        second[c] = second[c] + v * q[c * stride + i + 1];
      }
    }
    if (i < end) {
      Four w;
      load(weights + 4 * i, w);
      for (int c = 0; c < 3; ++c) first[c] = first[c] + w * q[c * stride + i];
    }
    for (int c = 0; c < 3; ++c) sums_[c] = first[c] + second[c];
  }

  static void clear(double* p, std::int64_t n) {
    for (std::int64_t i = 0; i < n; ++i) p[i] = 0.0;
  }

  void moveTo(int cell) {
    for (int c = 0; c < 3; ++c) {
      if (cell_ >= 0) {
        double* const to = row_ + padded_ * c + cell_;
        Four sum;
        load(to, sum);
        sum = sum + sums_[c];
        __builtin_memcpy(to, &sum, sizeof sum);
      }
      sums_[c] = Four{};
    }
    cell_ = cell;
  }

  const TensorMap& map_;
  int nx_;
  int ny_;
  int nz_;
  std::int64_t padded_;
  double* slice_;
  double* row_;
  double* gradient_;
  IndexSpan cells_ = {};  ///< of the row
  int cell_ = -1;
  Four sums_[3] = {};  ///< of the present cell
};
