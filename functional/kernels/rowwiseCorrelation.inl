#pragma once

#include "functional/kernels/correlationSamples.inl"
#include "functional/kernels/orderedSum.inl"

/// Correlation sums of a few slices, which would leave most lanes empty: the values of a block of
/// rows are stored and added row by row.
class RowwiseCorrelation {
 public:
  static constexpr LaneContents laneContents = LaneContents::rows;

  RowwiseCorrelation(CorrelationSums& sums, const Walk& walk)
      : sums_(sums), samples_(sums), values_(walk.kept), slice_(walk.box.zmin) {}

  typename Lanes::Mask accepted(typename Lanes::Mask counts, const double* reference) const {
    return samples_.accepted(counts, reference);
  }

  void startRows(const RowBlock& /*block*/) { end_ = values_; }
  Idle background() const { return {}; }

  template <class Columns>
  void add(const Columns& columns) {
    auto number = Lanes::all(0.0);
    for (int i = 0; i < columns.count; ++i)
      samples_.take(columns, i, [&](auto r, auto m, auto one) {
        Lanes::store(end_, r);
        Lanes::store(end_ + Lanes::width, m);
        end_ += valueDoubles;
        number = number + one;
      });
    sums_.count += wholeSumOf(number);
  }

  void endRows(const RowBlock& block) {
    for (int r = 0; r < block.count; ++r) {
      if (block.z[r] != slice_) finish();
      slice_ = block.z[r];
      for (const double* value = values_ + r; value < end_; value += valueDoubles)
        subtotals_.add(value[0], value[Lanes::width]);
    }
  }

  void finish() {
    subtotals_.addTo(sums_);
    subtotals_ = {};
  }

 private:
  static constexpr int valueDoubles = 2 * Lanes::width;

  CorrelationSums& sums_;
  CorrelationSamples samples_;
  CorrelationSubtotals<SingleLane> subtotals_;
  double* values_;  ///< per column: the reference's, the model's, each a value per lane
  double* end_ = nullptr;
  int slice_;
};
