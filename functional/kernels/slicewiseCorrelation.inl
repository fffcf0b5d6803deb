#pragma once

#include "functional/kernels/correlationSamples.inl"
#include "functional/kernels/orderedSum.inl"

/// Correlation sums of many slices: each lane adds up a separate slice.
class SlicewiseCorrelation {
 public:
  static constexpr LaneContents laneContents = LaneContents::slices;

  SlicewiseCorrelation(CorrelationSums& sums, const Walk& walk)
      : sums_(sums), samples_(sums), firstSlice_(walk.box.zmin) {}

  typename Lanes::Mask accepted(typename Lanes::Mask counts, const double* reference) const {
    return samples_.accepted(counts, reference);
  }

  void startRows(const RowBlock& block) {
    if (block.z[0] == firstSlice_) return;
    finish();
    firstSlice_ = block.z[0];
  }

  Idle background() const { return {}; }

  template <class Columns>
  void add(const Columns& columns) {
    CorrelationSubtotals slices = slices_;
    auto number = number_;
    for (int i = 0; i < columns.count; ++i)
      samples_.take(columns, i, [&](auto r, auto m, auto one) {
        slices.add(r, m);
        number = number + one;
      });
    slices_ = slices;
    number_ = number;
  }

  void endRows(const RowBlock& /*block*/) {}

  void finish() {
    double lanes[5][Lanes::width];
    Lanes::store(lanes[0], slices_.refSq);
    Lanes::store(lanes[1], slices_.modelSq);
    Lanes::store(lanes[2], slices_.refModel);
    Lanes::store(lanes[3], slices_.ref);
    Lanes::store(lanes[4], slices_.model);
    for (int r = 0; r < Lanes::width; ++r) {
      const CorrelationSubtotals<SingleLane> slice = {lanes[0][r], lanes[1][r], lanes[2][r],
                                                      lanes[3][r], lanes[4][r]};
      slice.addTo(sums_);
    }
    sums_.count += wholeSumOf(number_);
    slices_ = {};
    number_ = Lanes::all(0.0);
  }

 private:
  CorrelationSums& sums_;
  CorrelationSamples samples_;
  CorrelationSubtotals<Lanes> slices_;
  typename Lanes::Doubles number_ = {};
  int firstSlice_;
};
