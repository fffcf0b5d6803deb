#pragma once

#include "functional/kernels/columns.inl"
#include "functional/kernels/orderedSum.inl"
#include "functional/kernels/rowBlock.inl"

/// Partial-volume joint histogram: each sample distributes a weight of 1 over the four bins around
/// its position between rows (reference) and columns (model). The bins and shares of a block are
/// stored until the histogram can be updated row by row.
template <bool ranged>
class HistogramAccumulator {
 public:
  static constexpr LaneContents laneContents = LaneContents::rows;

  HistogramAccumulator(HistogramSums& sums, const Walk& walk)
      : sums_(sums), rows_(sums.rows), columns_(sums.columns), places_(walk.kept) {}

  void startRows(const RowBlock& /*block*/) { end_ = places_; }
  void finish() {}
  Idle background() const { return {}; }

  typename Lanes::Mask accepted(typename Lanes::Mask counts, const double* reference) const {
    return ranged ? Lanes::both(counts, rows_.holds(Lanes::load(reference))) : counts;
  }

  template <class Columns>
  void add(const Columns& columns) {
    for (int i = 0; i < columns.count; ++i) {
      const auto model = Lanes::load(columns.model + i * Lanes::width);
      auto counts = columns.counts[i];
      if constexpr (ranged) counts = Lanes::both(counts, columns_.holds(model));
      typename Lanes::Doubles row;
      typename Lanes::Doubles column;
      const auto rowShare = rows_.split(Lanes::load(columns.reference + i * Lanes::width), row);
      const auto columnShare = columns_.split(model, column);
      const auto bin = row * Lanes::all(sums_.columns.count) + column;
      Lanes::storeWhole(reinterpret_cast<std::int64_t*>(end_),
                        Lanes::select(counts, bin, Lanes::all(-1.0)));
      Lanes::store(end_ + Lanes::width, rowShare);
      Lanes::store(end_ + 2 * Lanes::width, columnShare);
      end_ += placeDoubles;
    }
  }

  void endRows(const RowBlock& block) {
    for (int r = 0; r < block.count; ++r) raiseBins(r);
  }

 private:
  static constexpr int placeDoubles = 3 * Lanes::width;

  /// One axis of the histogram.
  class Axis {
   public:
    using Doubles = typename Lanes::Doubles;

    explicit Axis(const HistogramAxis& axis)
        : min_(Lanes::all(axis.min)),
          max_(Lanes::all(axis.max)),
          scale_(Lanes::all(axis.scale)),
          top_(Lanes::all(axis.count - 1)),
          lastLower_(Lanes::all(axis.count - 2)) {}

    typename Lanes::Mask holds(Doubles value) const { return Lanes::within(value, min_, max_); }

    /// The lower of the two bins of a value; returns the share of the upper one. NaN counts as the
    /// minimum.
    Doubles split(Doubles value, Doubles& lower) const {
      const Doubles x =
          Lanes::smaller(Lanes::larger((value - min_) * scale_, Lanes::all(0.0)), top_);
      lower = Lanes::whole(Lanes::smaller(x, lastLower_));
      return x - lower;
    }

   private:
    Doubles min_;
    Doubles max_;
    Doubles scale_;
    Doubles top_;
    Doubles lastLower_;
  };

  void raiseBins(int r) {
    const std::int64_t columns = sums_.columns.count;
    std::int64_t count = 0;
    for (const double* place = places_ + r; place < end_; place += placeDoubles) {
      std::int64_t offset;
      __builtin_memcpy(&offset, place, sizeof offset);
      if (offset < 0) continue;
      double* const bin = sums_.histogram + offset;
      const double row = place[Lanes::width];
      const double column = place[2 * Lanes::width];
      bin[0] += (1.0 - row) * (1.0 - column);
      bin[columns] += row * (1.0 - column);
      bin[1] += (1.0 - row) * column;
      bin[columns + 1] += row * column;
      ++count;
    }
    sums_.count += count;
  }

  HistogramSums& sums_;
  Axis rows_;
  Axis columns_;
  double* places_;  ///< per column: the bins as integers, the two shares, each a value per lane
  double* end_ = nullptr;
};
