#pragma once

#include "functional/kernels/rowBlock.inl"

/// The voxels that the rows of a block sample.
class BlockSpan {
 public:
  IndexSpan all = {0, 0};  ///< of any row

  void set(const IndexSpan rows[Lanes::width]) {
    all = {0, 0};
    common_ = {0, 0};
    double first[Lanes::width];
    double last[Lanes::width];
    for (int r = 0; r < Lanes::width; ++r) {
      const IndexSpan& row = rows[r];
      first[r] = row.first;
      last[r] = row.end - 1;
      if (countOf(row) == 0) continue;
      const bool isFirst = countOf(all) == 0;
      all.first = isFirst ? row.first : fewer(row.first, all.first);
      all.end = isFirst ? row.end : more(row.end, all.end);
      common_.first = isFirst ? row.first : more(row.first, common_.first);
      common_.end = isFirst ? row.end : fewer(row.end, common_.end);
    }
    first_ = Lanes::load(first);
    last_ = Lanes::load(last);
    inCommon_ = compare(common_.first);
  }

  /// Mask of the lanes that have a voxel at x.
  typename Lanes::Mask at(int x) const {
    return x >= common_.first && x < common_.end ? inCommon_ : compare(x);
  }

 private:
  typename Lanes::Mask compare(int x) const { return Lanes::within(Lanes::all(x), first_, last_); }

  IndexSpan common_ = {0, 0};  ///< voxels common to all rows that sample any
  typename Lanes::Mask inCommon_ = {};
  typename Lanes::Doubles first_ = {};
  typename Lanes::Doubles last_ = {};
};
