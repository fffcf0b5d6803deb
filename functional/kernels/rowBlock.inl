#pragma once

#include "functional/kernels/rowClip.inl"

static inline int fewer(int a, int b) {
  return a < b ? a : b;
}

static inline int more(int a, int b) {
  return a > b ? a : b;
}

/// Contents of a block's lanes: successive rows in voxel order, which may continue in the next
/// slice, or the same row of successive slices.
enum class LaneContents { rows, slices };

/// Rows of the reference that are walked in parallel, one in each lane.
struct RowBlock {
  int y[Lanes::width];
  int z[Lanes::width];
  int count;  ///< lanes in use; the others repeat the last row
};

/// Splits the rows `ys` of the slices `zs` into blocks.
template <LaneContents laneContents>
class RowBlocks {
 public:
  RowBlocks(IndexSpan ys, IndexSpan zs) : ys_(ys), zs_(zs), y_(ys.first), z_(zs.first) {}

  /// The next block; false if there is none.
  bool next(RowBlock& block) {
    if (z_ >= zs_.end || countOf(ys_) == 0) return false;
    if constexpr (laneContents == LaneContents::rows)
      takeRows(block);
    else
      takeSlices(block);
    return true;
  }

 private:
  void takeRows(RowBlock& block) {
    int r = 0;
    for (; r < Lanes::width && z_ < zs_.end; ++r) {
      block.y[r] = y_;
      block.z[r] = z_;
      finishRow(1);
    }
    block.count = r;
    for (; r < Lanes::width; ++r) {
      block.y[r] = block.y[block.count - 1];
      block.z[r] = block.z[block.count - 1];
    }
  }

  void takeSlices(RowBlock& block) {
    block.count = fewer(zs_.end - z_, Lanes::width);
    for (int r = 0; r < Lanes::width; ++r) {
      block.y[r] = y_;
      block.z[r] = z_ + fewer(r, block.count - 1);
    }
    finishRow(block.count);
  }

  void finishRow(int slices) {
    if (++y_ < ys_.end) return;
    y_ = ys_.first;
    z_ += slices;
  }

  IndexSpan ys_;
  IndexSpan zs_;
  int y_;
  int z_;
};
