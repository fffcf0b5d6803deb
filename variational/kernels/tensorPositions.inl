#pragma once

#include "variational/kernels/sampleGroups.inl"

/// Positions under a tensor-product map. The controls are contracted along z for a slice, then along
/// y for a row, where they become one cubic polynomial for each cell.
class TensorPositions {
 public:
  TensorPositions(const TensorMap& map, double* scratch)
      : map_(map),
        nx_(map.axes[0].numControls),
        ny_(map.axes[1].numControls),
        nz_(map.axes[2].numControls),
        slice_(scratch),
        row_(scratch + 3 * std::int64_t{nx_} * ny_),
        powers_(row_ + 3 * std::int64_t{nx_}) {}

  /// Doubles of the scratch that are taken.
  std::int64_t taken() const { return 3 * std::int64_t{nx_} * ny_ + 15 * std::int64_t{nx_}; }

  void startSlice(int z) {
    const TensorAxis& axis = map_.axes[2];
    const std::int64_t plane = std::int64_t{nx_} * ny_;
    const double* const w = axis.weights + 4 * std::int64_t{z};
    for (int c = 0; c < 3; ++c)
      contract(map_.controls + plane * (axis.cell[z] + std::int64_t{nz_} * c), plane, w, plane,
               slice_ + plane * c);
  }

  void startRow(int y) {
    const TensorAxis& axis = map_.axes[1];
    const std::int64_t plane = std::int64_t{nx_} * ny_;
    const double* const w = axis.weights + 4 * std::int64_t{y};
    for (int c = 0; c < 3; ++c) {
      double* const controls = row_ + std::int64_t{nx_} * c;
      contract(slice_ + plane * c + std::int64_t{nx_} * axis.cell[y], nx_, w, nx_, controls);
      for (int k = 0; k < 4; ++k)
        contract(controls, 1, map_.toPowers[k], nx_ - 3, powers_ + std::int64_t{nx_} * (4 * c + k));
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
        const double* const p = powers_ + std::int64_t{nx_} * 4 * c + cell;
        const auto p0 = Lanes::all(p[0]);
        const auto p1 = Lanes::all(p[nx_]);
        const auto p2 = Lanes::all(p[2 * std::int64_t{nx_}]);
        const auto p3 = Lanes::all(p[3 * std::int64_t{nx_}]);
        for (int j = i; j < end; j += Lanes::width) {
          const auto t = Lanes::load(axis.local + x + j);
          Lanes::store(position[c] + j, ((p3 * t + p2) * t + p1) * t + p0);
        }
      }
      i = end;
    }
  }

 private:
  /// to[i] = the sum over k of w[k] * from[i + k * stride].
  static void contract(const double* from, std::int64_t stride, const double* w, std::int64_t n,
                       double* to) {
    const double w0 = w[0];
    const double w1 = w[1];
    const double w2 = w[2];
    const double w3 = w[3];
    for (std::int64_t i = 0; i < n; ++i)
      to[i] = ((w0 * from[i] + w1 * from[i + stride]) + w2 * from[i + 2 * stride]) +
              w3 * from[i + 3 * stride];
  }

  const TensorMap& map_;
  int nx_;
  int ny_;
  int nz_;
  double* slice_;   ///< controls of the slice: x, y, component
  double* row_;     ///< controls of the row: x, component
  double* powers_;  ///< polynomials of the row: cell, power, component
};

/// The transpose of TensorPositions: sums of vectors at voxels become a gradient by the controls.
class TensorGradient {
 public:
  TensorGradient(const TensorMap& map, double* scratch, double* gradient)
      : map_(map),
        nx_(map.axes[0].numControls),
        ny_(map.axes[1].numControls),
        nz_(map.axes[2].numControls),
        slice_(scratch),
        row_(scratch + 3 * std::int64_t{nx_} * ny_),
        gradient_(gradient) {}

  void startSlice(int /*z*/) { clear(slice_, 3 * std::int64_t{nx_} * ny_); }
  void startRow(int /*y*/) {
    clear(row_, 3 * std::int64_t{nx_});
    cell_ = -1;
  }

  /// The vectors of groupSize voxels from x on. Even and odd voxels have sums of their own, which
  /// halves the wait of an addition for the one before.
  void add(int x, const double (*q)[chunkSize], int at) {
    const TensorAxis& axis = map_.axes[0];
    for (int i = 0; i < groupSize; ++i) {
      if (axis.cell[x + i] != cell_) moveTo(axis.cell[x + i]);
      Four w;
      __builtin_memcpy(&w, axis.weights + 4 * (std::int64_t{x} + i), sizeof w);
      for (int c = 0; c < 3; ++c) sums_[i & 1][c] = sums_[i & 1][c] + w * q[c][at + i];
    }
  }

  void endRow(int y) {
    moveTo(-1);
    const TensorAxis& axis = map_.axes[1];
    const std::int64_t plane = std::int64_t{nx_} * ny_;
    for (int c = 0; c < 3; ++c)
      spread(row_ + std::int64_t{nx_} * c, nx_, axis.weights + 4 * std::int64_t{y}, nx_,
             slice_ + plane * c + std::int64_t{nx_} * axis.cell[y]);
  }

  void endSlice(int z) {
    const TensorAxis& axis = map_.axes[2];
    const std::int64_t plane = std::int64_t{nx_} * ny_;
    for (int c = 0; c < 3; ++c)
      spread(slice_ + plane * c, plane, axis.weights + 4 * std::int64_t{z}, plane,
             gradient_ + plane * (axis.cell[z] + std::int64_t{nz_} * c));
  }

 private:
  using Four = double __attribute__((vector_size(32)));

  static void clear(double* p, std::int64_t n) {
    for (std::int64_t i = 0; i < n; ++i) p[i] = 0.0;
  }

  /// to[i + k * stride] += w[k] * from[i].
  static void spread(const double* from, std::int64_t n, const double* w, std::int64_t stride,
                     double* to) {
    for (int k = 0; k < 4; ++k)
      for (std::int64_t i = 0; i < n; ++i) to[i + k * stride] += w[k] * from[i];
  }

  void moveTo(int cell) {
    if (cell_ >= 0)
      for (int c = 0; c < 3; ++c) {
        Four sum;
        double* const to = row_ + std::int64_t{nx_} * c + cell_;
        __builtin_memcpy(&sum, to, sizeof sum);
        sum = sum + (sums_[0][c] + sums_[1][c]);
        __builtin_memcpy(to, &sum, sizeof sum);
      }
    for (auto& sums : sums_)
      for (Four& sum : sums) sum = Four{};
    cell_ = cell;
  }

  const TensorMap& map_;
  int nx_;
  int ny_;
  int nz_;
  double* slice_;
  double* row_;
  double* gradient_;
  int cell_ = -1;
  Four sums_[2][3] = {};  ///< of the present cell
};
