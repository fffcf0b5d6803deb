#pragma once

#include "variational/kernels/sampleGroups.inl"

/// Positions under a matrix and a displacement for each voxel.
class FieldPositions {
 public:
  FieldPositions(const DerivativeFrame<FieldMap>& frame, double* /*scratch*/)
      : matrix_(frame.map.matrix),
        nx_(frame.walk.referenceDims[0]),
        ny_(frame.walk.referenceDims[1]),
        count_(std::int64_t{nx_} * ny_ * frame.walk.referenceDims[2]),
        displacement_(frame.map.displacement) {}

  /// Doubles of the scratch that are taken.
  static std::int64_t taken(const FieldMap&) { return 0; }

  void startSlice(int z) {
    for (int c = 0; c < 3; ++c) sliceStart_[c] = z * matrix_.step[2][c] + matrix_.start[c];
    slice_ = std::int64_t{nx_} * ny_ * z;
  }

  void startRow(int y, const IndexSpan& /*span*/) {
    for (int c = 0; c < 3; ++c) rowStart_[c] = y * matrix_.step[1][c] + sliceStart_[c];
    row_ = slice_ + std::int64_t{nx_} * y;
  }

  /// The positions of voxels x .. x + n - 1; writes up to groupSize beyond them.
  void fill(int x, int n, double (*position)[chunkSize + groupSize]) const {
    for (int c = 0; c < 3; ++c) {
      const auto start = Lanes::all(rowStart_[c]);
      const auto step = Lanes::all(matrix_.step[0][c]);
      const float* const from = displacement_ + (c * count_ + row_ + x);
      const auto put = [&](int i, const float* displacements) {
        const auto voxel = Lanes::load(inGroup) + Lanes::all(x + i);
        Lanes::store(position[c] + i, (voxel * step + start) + Lanes::widen(displacements));
      };
      int i = 0;
      for (; i + Lanes::width <= n; i += Lanes::width) put(i, from + i);
      if (i == n) continue;
      float last[Lanes::width] = {};
      for (int k = i; k < n; ++k) last[k - i] = from[k];
      put(i, last);
    }
  }

 private:
  static constexpr double inGroup[groupSize] = {0, 1, 2, 3, 4, 5, 6, 7};

  const VoxelMatrix& matrix_;
  int nx_;
  int ny_;
  std::int64_t count_;
  const float* displacement_;
  std::int64_t slice_ = 0;  ///< first voxel
  std::int64_t row_ = 0;
  double sliceStart_[3] = {};
  double rowStart_[3] = {};
};

/// Hands on the vector at each voxel as it is, 0 where there is none.
class FieldGradient {
 public:
  FieldGradient(const DerivativeFrame<FieldMap>& frame, double* /*scratch*/, float* gradient)
      : nx_(frame.walk.referenceDims[0]),
        plane_(std::int64_t{nx_} * frame.walk.referenceDims[1]),
        count_(plane_ * frame.walk.referenceDims[2]),
        gradient_(gradient) {}

  void startSlice(int z) {
    slice_ = gradient_ + plane_ * z;
    for (int c = 0; c < 3; ++c)
      for (std::int64_t i = 0; i < plane_; ++i) slice_[c * count_ + i] = 0.0f;
  }

  void startRow(int y, const IndexSpan& /*span*/) { row_ = slice_ + std::int64_t{nx_} * y; }
  void endRow(int /*y*/) {}
  void endSlice(int /*z*/) {}

  /// The vectors of groupSize voxels from x on, some of which may be beyond the row; component c of
  /// voxel i is q[c * stride + i].
  [[gnu::always_inline]] void add(int x, const double* q, std::int64_t stride) {
    if (x + groupSize <= nx_) {
      for (int c = 0; c < 3; ++c)
        for (int i = 0; i < groupSize; i += Lanes::width)
          Lanes::storeNarrow(row_ + (c * count_ + x + i), Lanes::load(q + (c * stride + i)));
      return;
    }
    for (int c = 0; c < 3; ++c)
      for (int i = 0; i < nx_ - x; ++i)
        row_[c * count_ + x + i] = static_cast<float>(q[c * stride + i]);
  }

 private:
  int nx_;
  std::int64_t plane_;
  std::int64_t count_;
  float* gradient_;
  float* slice_ = nullptr;
  float* row_ = nullptr;
};
