#pragma once

#include "functional/kernels/rowBlock.inl"

/// The voxels that the rows of a block sample.
class BlockSpan {
 public:
  RowSpan all = {0, -1};  ///< from the first to the last one in any row

  void set(const RowSpan rows[Lanes::width]) {
    all = {0, -1};
    common_ = {0, -1};
    double first[Lanes::width];
    double last[Lanes::width];
    for (int r = 0; r < Lanes::width; ++r) {
      const RowSpan& row = rows[r];
      first[r] = row.first;
      last[r] = row.last;
      if (row.count() == 0) continue;
      const bool isFirst = all.count() == 0;
      all.first = isFirst ? row.first : fewer(row.first, all.first);
      all.last = isFirst ? row.last : more(row.last, all.last);
      common_.first = isFirst ? row.first : more(row.first, common_.first);
      common_.last = isFirst ? row.last : fewer(row.last, common_.last);
    }
    first_ = Lanes::load(first);
    last_ = Lanes::load(last);
    inCommon_ = compare(common_.first);
  }

  /// Mask of the lanes that have a voxel at x.
  typename Lanes::Mask at(int x) const {
    return x >= common_.first && x <= common_.last ? inCommon_ : compare(x);
  }

 private:
  typename Lanes::Mask compare(int x) const { return Lanes::within(Lanes::all(x), first_, last_); }

  RowSpan common_ = {0, -1};  ///< voxels common to all rows that sample any
  typename Lanes::Mask inCommon_ = {};
  typename Lanes::Doubles first_ = {};
  typename Lanes::Doubles last_ = {};
};
