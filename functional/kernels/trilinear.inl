#pragma once

#include "functional/kernels/columns.inl"
#include "functional/kernels/prefetch.inl"

/// Trilinear samples of a model. Per axis of n voxels a position is clamped to [0, n - 1] and split
/// into a cell, at most n - 2, and the fraction in it; NaN counts as 0. An axis of one voxel uses
/// that voxel as both neighbours.
template <class U>
class TrilinearSampler {
 public:
  using Doubles = typename Lanes::Doubles;

  /// One sample per lane: its fractions, and the two voxels along x on each of four lines. These
  /// are copied first and widened later, so that the loads of many samples overlap.
  struct alignas(64) Located {
    double fraction[3][Lanes::width];
    std::int64_t corner[Lanes::width];
    U pairs[4][2 * Lanes::width];
  };

  explicit TrilinearSampler(const Walk& walk) : voxels_(static_cast<const U*>(walk.model)) {
    std::int64_t stride = 1;
    for (int axis = 0; axis < 3; ++axis) {
      const int n = walk.modelDims[axis];
      neighbour_[axis] = n > 1 ? stride : 0;
      stride_[axis] = Lanes::all(static_cast<double>(stride));
      top_[axis] = Lanes::all(n - 1);
      lastCell_[axis] = Lanes::all(n > 1 ? n - 2 : n - 1);
      stride *= n;
    }
    std::int64_t ahead = 0;
    for (int axis = 2; axis >= 0; --axis)
      ahead = ahead * walk.modelDims[axis] + wholeNear(prefetchRows * walk.rowStep[axis]);
    ahead_[0] = addressOf(voxels_) + ahead * static_cast<std::int64_t>(sizeof(U));
    ahead_[1] = ahead_[0] + (neighbour_[1] + neighbour_[2]) * static_cast<std::int64_t>(sizeof(U));
    ahead_[2] = ahead_[0] + neighbour_[1] * static_cast<std::int64_t>(sizeof(U));
    ahead_[3] = ahead_[0] + neighbour_[2] * static_cast<std::int64_t>(sizeof(U));
    isTilted_ = sizeOf(walk.step[0][1]) + sizeOf(walk.step[0][2]) > tiltedStep;
  }

  /// Mask of the lanes whose position is within half a voxel of the model.
  typename Lanes::Mask inside(const Doubles position[3]) const {
    const Doubles lower = Lanes::all(-0.5);
    const Doubles half = Lanes::all(0.5);
    return Lanes::both(Lanes::within(position[0], lower, top_[0] + half),
                       Lanes::both(Lanes::within(position[1], lower, top_[1] + half),
                                   Lanes::within(position[2], lower, top_[2] + half)));
  }

  [[gnu::always_inline]] void locate(const Doubles position[3], Located& out) const {
    Doubles cell[3];
    for (int axis = 0; axis < 3; ++axis) {
      const Doubles p = Lanes::smaller(Lanes::larger(position[axis], Lanes::all(0.0)), top_[axis]);
      cell[axis] = Lanes::whole(Lanes::smaller(p, lastCell_[axis]));
      Lanes::store(out.fraction[axis], p - cell[axis]);
    }
    Lanes::storeWhole(out.corner, (cell[0] + cell[1] * stride_[1]) + cell[2] * stride_[2]);
  }

  /// Copies the voxels that the located samples read in the first `lanes` lanes, and calls
  /// background() after each column. Each lane holds a row of its own.
  template <class Background>
  void fetch(Located* columns, int count, int lanes, Background& background) const {
    if (isTilted_)
      prefetchAhead<tiltedLines, tiltedColumns>(columns, count);
    else
      prefetchAhead<levelLines, levelColumns>(columns, count);
    copy(columns, count, lanes, background);
  }

  /// The same without regard to what later rows will read.
  template <class Background>
  void copy(Located* columns, int count, int lanes, Background& background) const {
    if (neighbour_[0] == 0)
      copyPairs<1>(columns, count, lanes, background);
    else if (lanes < Lanes::width)
      copyPairs<2>(columns, count, lanes, background);
    else
      copyPairs<2>(columns, count, Lanes::width, background);
  }

  [[gnu::always_inline]] static Doubles interpolate(const Located& at) {
    const Doubles f0 = Lanes::load(at.fraction[0]);
    const Doubles f1 = Lanes::load(at.fraction[1]);
    const Doubles one = Lanes::all(1.0);
    const Doubles g0 = one - f0;
    const Doubles g1 = one - f1;
    const auto line = [&](int i) {
      Doubles first;
      Doubles second;
      Lanes::widenPairs(at.pairs[i], first, second);
      return second * f0 + first * g0;
    };
    const Doubles a = line(1) * f1 + line(0) * g1;
    const Doubles b = line(3) * f1 + line(2) * g1;
    return (b - a) * Lanes::load(at.fraction[2]) + a;
  }

 private:
  /// Copies the voxels at the corners, `along` different ones along x. All pointers are locals,
  /// since a store through a char pointer may alias any member.
  template <int along, class Background>
  [[gnu::always_inline]] void copyPairs(Located* columns, int count, int lanes,
                                        Background& background) const {
    Background inBackground = background;
    const U* const line[4] = {voxels_, voxels_ + neighbour_[1], voxels_ + neighbour_[2],
                              voxels_ + (neighbour_[1] + neighbour_[2])};
    for (int c = 0; c < count; ++c) {
      for (int r = 0; r < lanes; ++r)
        for (int i = 0; i < 4; ++i) {
          U pair[2];
          __builtin_memcpy(pair, line[i] + columns[c].corner[r], along * sizeof(U));
          if constexpr (along == 1) pair[1] = pair[0];
          __builtin_memcpy(columns[c].pairs[i] + 2 * r, pair, sizeof pair);
        }
      inBackground();
    }
    background = inBackground;
  }

  /// Prefetches what the rows some way ahead will read: the cache lines that a slice reads do not
  /// stay in the nearest cache until the next slice, and an oblique row enters new ones every few
  /// voxels, at different positions on the four lines of a cell.
  template <int lines, int columnStep>
  [[gnu::always_inline]] void prefetchAhead(const Located* columns, int count) const {
    for (int c = 0; c < count; c += columnStep)
      for (int r = 0; r < Lanes::width; ++r)
        for (int i = 0; i < lines; ++i)
          prefetch(ahead_[i] + columns[c].corner[r] * static_cast<std::int64_t>(sizeof(U)));
  }

  static double sizeOf(double v) { return v < 0.0 ? -v : v; }

  static std::int64_t wholeNear(double v) {
    return v > -1.0e3 && v < 1.0e3 ? static_cast<std::int64_t>(v < 0.0 ? v - 0.5 : v + 0.5) : 0;
  }

  // Empirical, the fastest of those measured on heads of 1 and 2 mm: docs/performance.md, "What
  // bounds the kernels".
  static constexpr int prefetchRows = 8;
  static constexpr double tiltedStep = 0.05;  ///< voxels across a row's axis per voxel along it
  static constexpr int tiltedLines = 4;       ///< of a cell's four, asked for in an oblique row
  static constexpr int tiltedColumns = 4;     ///< columns from one request to the next
  static constexpr int levelLines = 2;
  static constexpr int levelColumns = 8;

  const U* voxels_;
  std::int64_t neighbour_[3];
  std::int64_t ahead_[4];  ///< lines of voxel 0's cell, advanced, the lowest and the highest first
  bool isTilted_;          ///< rows leave the model's lines every few voxels; only a hint
  Doubles stride_[3];
  Doubles top_[3];
  Doubles lastCell_[3];
};
