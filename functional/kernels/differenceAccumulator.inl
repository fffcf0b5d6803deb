#pragma once

#include "functional/kernels/columns.inl"
#include "functional/kernels/orderedSum.inl"

/// One running sum of negated squared differences over the whole walk. The squares of a block are
/// stored, and added row by row while the next block is sampled.
class DifferenceAccumulator {
 public:
  static constexpr LaneContents laneContents = LaneContents::rows;

  DifferenceAccumulator(DifferenceSums& sums, const Walk& walk)
      : sums_(sums),
        squares_(walk.kept),
        spare_(walk.kept +
               Lanes::width * (walk.box.xmax - walk.box.xmin + std::int64_t{1} + Lanes::width)) {}

  void startRows(const RowBlock& /*block*/) { count_ = 0; }

  typename Lanes::Mask accepted(typename Lanes::Mask counts, const double* /*reference*/) const {
    return counts;
  }

  /// Work to interleave with the fetches.
  OrderedSum& background() { return sum_; }

  template <class Columns>
  void add(const Columns& columns) {
    const auto zero = Lanes::all(0.0);
    auto number = zero;
    double* const squares = squares_ + count_ * Lanes::width;
    for (int i = 0; i < columns.count; ++i) {
      const auto d = Lanes::load(columns.model + i * Lanes::width) -
                     Lanes::load(columns.reference + i * Lanes::width);
      Lanes::store(squares + i * Lanes::width, Lanes::select(columns.counts[i], d * d, zero));
      number = number + Lanes::select(columns.counts[i], Lanes::all(1.0), zero);
    }
    count_ += columns.count;
    sums_.count += wholeSumOf(number);
  }

  void endRows(const RowBlock& block) {
    for (; count_ % Lanes::width != 0; ++count_)
      Lanes::store(squares_ + count_ * Lanes::width, Lanes::all(0.0));
    sum_.finish();
    sum_.start(squares_, count_, block.count);
    double* const done = spare_;
    spare_ = squares_;
    squares_ = done;
  }

  void finish() {
    sum_.finish();
    sums_.negSquaredDiff = sum_.sum;
  }

 private:
  DifferenceSums& sums_;
  double* squares_;         ///< of the block being sampled
  double* spare_;           ///< of the block being summed
  std::int64_t count_ = 0;  ///< columns of squares
  OrderedSum sum_;
};
