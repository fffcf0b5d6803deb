#pragma once

#include "variational/kernels/mapParts.inl"

/// Adds up values, and products of values, of the samples.
class SumsConsumer {
 public:
  static constexpr bool wantsGradient = false;

  void startSlice(int) {}
  void endSlice(int) {}
  void startRow(int, const IndexSpan&) {}
  void endRow(int) {}

  void take(const SampleGroups& groups, const double (*)[chunkSize]) {
    for (int i = 0; i < groups.count * partsPerGroup; ++i)
      add(i % partsPerGroup, Lanes::load(groups.reference + i * Lanes::width),
          Lanes::load(groups.model + i * Lanes::width), groups.counts[i]);
  }

  void addTo(SampleSums& sums) const {
    sums.count += count_.total();
    sums.reference += reference_.total();
    sums.model += model_.total();
    sums.referenceSq += referenceSq_.total();
    sums.modelSq += modelSq_.total();
    sums.product += product_.total();
    sums.differenceSq += differenceSq_.total();
  }

 private:
  using Doubles = typename Lanes::Doubles;

  [[gnu::always_inline]] void add(int part, Doubles reference, Doubles model,
                                  typename Lanes::Mask counts) {
    const Doubles zero = Lanes::all(0.0);
    const Doubles r = Lanes::select(counts, reference, zero);
    const Doubles m = Lanes::select(counts, model, zero);
    const Doubles d = r - m;
    count_.add(part, Lanes::select(counts, Lanes::all(1.0), zero));
    reference_.add(part, r);
    model_.add(part, m);
    referenceSq_.add(part, r * r);
    modelSq_.add(part, m * m);
    product_.add(part, r * m);
    differenceSq_.add(part, d * d);
  }

  GroupSum count_;
  GroupSum reference_;
  GroupSum model_;
  GroupSum referenceSq_;
  GroupSum modelSq_;
  GroupSum product_;
  GroupSum differenceSq_;
};

/// One axis of the histogram.
class BinAxis {
 public:
  using Doubles = typename Lanes::Doubles;

  explicit BinAxis(const HistogramAxis& axis)
      : min_(Lanes::all(axis.min)),
        scale_(Lanes::all(axis.scale)),
        top_(Lanes::all(axis.count - 1)),
        lastLower_(Lanes::all(axis.count - 2)) {}

  /// The lower of the two bins of a value; returns the share of the upper one.
  Doubles split(Doubles value, Doubles& lower) const {
    const Doubles x = Lanes::smaller(Lanes::larger((value - min_) * scale_, Lanes::all(0.0)), top_);
    lower = Lanes::whole(Lanes::smaller(x, lastLower_));
    return x - lower;
  }

  /// Lanes whose value is between the outermost bins, where its shares depend on it.
  typename Lanes::Mask holds(Doubles value) const {
    return Lanes::within((value - min_) * scale_, Lanes::all(0.0), top_);
  }

 private:
  Doubles min_;
  Doubles scale_;
  Doubles top_;
  Doubles lastLower_;
};

/// Distributes each sample over the four bins around it.
class HistogramConsumer {
 public:
  static constexpr bool wantsGradient = false;

  explicit HistogramConsumer(HistogramSums& sums)
      : sums_(sums), rows_(sums.rows), columns_(sums.columns) {}

  void startSlice(int) {}
  void endSlice(int) {}
  void startRow(int, const IndexSpan&) {}
  void endRow(int) {}

  void take(const SampleGroups& groups, const double (*)[chunkSize]) {
    distribute(groups, [](int, Doubles, Doubles, Doubles) {});
  }

  /// The same; calls visit(i, row, column, rowShare) with the lower row and column, and the share
  /// of the upper row, of samples from i on.
  template <class Visit>
  [[gnu::always_inline]] void distribute(const SampleGroups& groups, Visit visit) {
    alignas(64) std::int64_t bins[chunkSize];
    alignas(64) double shares[4][chunkSize];
    const Doubles one = Lanes::all(1.0);
    const Doubles columns = Lanes::all(sums_.columns.count);
    const int n = groups.count * groupSize;
    for (int i = 0; i < n; i += Lanes::width) {
      Doubles row;
      Doubles column;
      const Doubles upper = rows_.split(Lanes::load(groups.reference + i), row);
      const Doubles right = columns_.split(Lanes::load(groups.model + i), column);
      visit(i, row, column, upper);
      Lanes::store(shares[0] + i, (one - upper) * (one - right));
      Lanes::store(shares[1] + i, (one - upper) * right);
      Lanes::store(shares[2] + i, upper * (one - right));
      Lanes::store(shares[3] + i, upper * right);
      Lanes::storeWhole(bins + i, Lanes::select(groups.counts[i / Lanes::width],
                                                row * columns + column, Lanes::all(-1.0)));
    }
    raise(bins, shares, n);
  }

 private:
  using Doubles = typename Lanes::Doubles;

  [[gnu::always_inline]] void raise(const std::int64_t* bins, const double (*shares)[chunkSize],
                                    int n) {
    double* const histogram = sums_.histogram;
    const std::int64_t columns = sums_.columns.count;
    int count = 0;
    for (int i = 0; i < n; ++i) {
      if (bins[i] < 0) continue;
      double* const bin = histogram + bins[i];
      bin[0] += shares[0][i];
      bin[1] += shares[1][i];
      bin[columns] += shares[2][i];
      bin[columns + 1] += shares[3][i];
      ++count;
    }
    sums_.count += count;
  }

  HistogramSums& sums_;
  BinAxis rows_;
  BinAxis columns_;
};

/// A histogram that keeps its samples. The slopes of a histogram's rule have one column less than
/// the histogram.
class KeepingConsumer {
 public:
  static constexpr bool wantsGradient = true;

  KeepingConsumer(HistogramSums& sums, const KeptSamples& kept)
      : histogram_(sums),
        columns_(sums.columns),
        intervals_(Lanes::all(sums.columns.count - 1)),
        beyond_(Lanes::all(sums.rows.count) * intervals_),
        kept_(kept) {}

  void startSlice(int) {}
  void endSlice(int) {}
  void startRow(int, const IndexSpan&) { rowCount_ = 0; }
  void endRow(int) {
    *kept_.rowCounts++ = rowCount_;
    kept_.groups += rowCount_;
    kept_.x += rowCount_;
  }

  void take(const SampleGroups& groups, const double (*slopes)[chunkSize]) {
    KeptGroup* const kept = kept_.groups + rowCount_;
    histogram_.distribute(groups, [&](int i, Doubles row, Doubles column, Doubles rowShare) {
      KeptGroup& group = kept[i / groupSize];
      const int at = i % groupSize;
      const auto counts = groups.counts[i / Lanes::width];
      const auto matters = Lanes::both(counts, columns_.holds(Lanes::load(groups.model + i)));
      Lanes::storeNarrow(group.places + at,
                         Lanes::select(matters, row * intervals_ + column, beyond_));
      Lanes::storeNarrow(group.rowShares + at, rowShare);
      for (int c = 0; c < 3; ++c)
        Lanes::storeNarrow(group.slopes[c] + at,
                           Lanes::select(counts, Lanes::load(slopes[c] + i), Lanes::all(0.0)));
    });
    for (int g = 0; g < groups.count; ++g) kept_.x[rowCount_++] = groups.x[g];
  }

 private:
  using Doubles = typename Lanes::Doubles;

  HistogramConsumer histogram_;
  BinAxis columns_;
  Doubles intervals_;
  Doubles beyond_;
  KeptSamples kept_;  ///< from the present row on
  int rowCount_ = 0;
};

/// Squared differences; weighs the model's gradient at each sample by a linear rule and hands it
/// on.
template <class Map>
class LinearConsumer {
 public:
  static constexpr bool wantsGradient = true;

  LinearConsumer(const LinearRule& rule, const DerivativeFrame<Map>& frame, double* scratch,
                 typename Map::Derivative* gradient)
      : byReference_(Lanes::all(rule.byReference)),
        byModel_(Lanes::all(rule.byModel)),
        constant_(Lanes::all(rule.constant)),
        gradient_(frame, scratch, gradient) {}

  void startSlice(int z) { gradient_.startSlice(z); }
  void endSlice(int z) { gradient_.endSlice(z); }
  void startRow(int y, const IndexSpan& span) { gradient_.startRow(y, span); }
  void endRow(int y) { gradient_.endRow(y); }

  void take(const SampleGroups& groups, const double (*slopes)[chunkSize]) {
    alignas(64) double weighed[3][chunkSize];
    const auto zero = Lanes::all(0.0);
    for (int i = 0; i < groups.count * partsPerGroup; ++i) {
      const int at = i * Lanes::width;
      const auto r = Lanes::load(groups.reference + at);
      const auto m = Lanes::load(groups.model + at);
      const auto d = Lanes::select(groups.counts[i], r - m, zero);
      differenceSq_.add(i % partsPerGroup, d * d);
      count_.add(i % partsPerGroup, Lanes::select(groups.counts[i], Lanes::all(1.0), zero));
      const auto weight = (byReference_ * r + byModel_ * m) + constant_;
      for (int c = 0; c < 3; ++c)
        Lanes::store(weighed[c] + at,
                     Lanes::select(groups.counts[i], Lanes::load(slopes[c] + at) * weight, zero));
    }
    for (int g = 0; g < groups.count; ++g)
      gradient_.add(groups.x[g], weighed[0] + g * groupSize, chunkSize);
  }

  void addTo(SampleSums& sums) const {
    sums.count += count_.total();
    sums.differenceSq += differenceSq_.total();
  }

 private:
  typename Lanes::Doubles byReference_;
  typename Lanes::Doubles byModel_;
  typename Lanes::Doubles constant_;
  GroupSum count_;
  GroupSum differenceSq_;
  typename MapParts<Map>::Gradient gradient_;
};

/// Hands the kept samples of some slices on.
template <class Map>
class KeptGradient {
 public:
  KeptGradient(const HistogramRule& rule, const KeptSamples& kept,
               const DerivativeFrame<Map>& frame, double* scratch,
               typename Map::Derivative* gradient)
      : slopes_(rule.slopes),
        intervals_(rule.columns.count - 1),
        kept_(kept),
        frame_(frame),
        gradient_(frame, scratch, gradient) {}

  void addSlice(int z) {
    const int ny = frame_.walk.referenceDims[1];
    gradient_.startSlice(z);
    for (int y = 0; y < ny; ++y) {
      const IndexSpan span = spanOf(frame_, y, z);
      if (!isEmpty(span)) addRow(y, span);
    }
    gradient_.endSlice(z);
  }

 private:
  void addRow(int y, const IndexSpan& span) {
    const int count = *kept_.rowCounts++;
    gradient_.startRow(y, span);
    for (int g = 0; g < count; ++g) add(kept_.groups[g], kept_.x[g]);
    gradient_.endRow(y);
    kept_.groups += count;
    kept_.x += count;
  }

  [[gnu::always_inline]] void add(const KeptGroup& group, int x) {
    alignas(64) double lower[groupSize];
    alignas(64) double upper[groupSize];
    for (int i = 0; i < groupSize; ++i) {
      const double* const slope = slopes_ + group.places[i];
      lower[i] = slope[0];
      upper[i] = slope[intervals_];
    }
    alignas(64) double weighed[3][groupSize];
    for (int i = 0; i < groupSize; i += Lanes::width) {
      const auto share = Lanes::widen(group.rowShares + i);
      const auto weight =
          (Lanes::all(1.0) - share) * Lanes::load(lower + i) + share * Lanes::load(upper + i);
      for (int c = 0; c < 3; ++c)
        Lanes::store(weighed[c] + i, Lanes::widen(group.slopes[c] + i) * weight);
    }
    gradient_.add(x, weighed[0], groupSize);
  }

  const double* slopes_;
  std::int64_t intervals_;
  KeptSamples kept_;  ///< from the present row on
  const DerivativeFrame<Map>& frame_;
  typename MapParts<Map>::Gradient gradient_;
};
