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
    alignas(64) double rowShares[chunkSize];
    take(groups, rowShares, [](int, typename Lanes::Doubles, typename Lanes::Doubles) {});
  }

  /// The same. `rowShares` receives the share of the upper row of each sample, and `place` the
  /// lower row and column of each part of the groups.
  template <class Place>
  [[gnu::always_inline]] void take(const SampleGroups& groups, double* rowShares, Place place) {
    alignas(64) std::int64_t bins[chunkSize];
    alignas(64) double columnShares[chunkSize];
    const int n = groups.count * groupSize;
    for (int i = 0; i < n; i += Lanes::width) {
      typename Lanes::Doubles row;
      typename Lanes::Doubles column;
      Lanes::store(rowShares + i, rows_.split(Lanes::load(groups.reference + i), row));
      Lanes::store(columnShares + i, columns_.split(Lanes::load(groups.model + i), column));
      place(i, row, column);
      Lanes::storeWhole(bins + i, Lanes::select(groups.counts[i / Lanes::width],
                                                row * Lanes::all(sums_.columns.count) + column,
                                                Lanes::all(-1.0)));
    }
    for (int i = 0; i < n; ++i)
      if (bins[i] >= 0) raise(bins[i], rowShares[i], columnShares[i]);
  }

 private:
  [[gnu::always_inline]] void raise(std::int64_t offset, double row, double column) {
    double* const bin = sums_.histogram + offset;
    const std::int64_t columns = sums_.columns.count;
    bin[0] += (1.0 - row) * (1.0 - column);
    bin[columns] += row * (1.0 - column);
    bin[1] += (1.0 - row) * column;
    bin[columns + 1] += row * column;
    ++sums_.count;
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
    alignas(64) double rowShares[chunkSize];
    alignas(64) double places[chunkSize];
    histogram_.take(groups, rowShares, [&](int i, Doubles row, Doubles column) {
      const auto matters = Lanes::both(groups.counts[i / Lanes::width],
                                       columns_.holds(Lanes::load(groups.model + i)));
      Lanes::store(places + i, Lanes::select(matters, row * intervals_ + column, Lanes::all(-1.0)));
    });
    for (int g = 0; g < groups.count; ++g) {
      KeptGroup& kept = kept_.groups[rowCount_];
      kept_.x[rowCount_++] = groups.x[g];
      for (int c = 0; c < 3; ++c) keepSlopes(groups, g, slopes[c], kept.slopes[c]);
      for (int k = 0; k < groupSize; ++k) {
        kept.places[k] = static_cast<std::int32_t>(places[g * groupSize + k]);
        kept.rowShares[k] = static_cast<float>(rowShares[g * groupSize + k]);
      }
    }
  }

 private:
  using Doubles = typename Lanes::Doubles;

  [[gnu::always_inline]] static void keepSlopes(const SampleGroups& groups, int g,
                                                const double* slopes, float* kept) {
    alignas(64) double counting[groupSize];
    for (int p = 0; p < partsPerGroup; ++p)
      Lanes::store(
          counting + p * Lanes::width,
          Lanes::select(groups.counts[g * partsPerGroup + p],
                        Lanes::load(slopes + g * groupSize + p * Lanes::width), Lanes::all(0.0)));
    for (int k = 0; k < groupSize; ++k) kept[k] = static_cast<float>(counting[k]);
  }

  HistogramConsumer histogram_;
  BinAxis columns_;
  Doubles intervals_;
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
    alignas(64) double weights[groupSize];
    for (int i = 0; i < groupSize; ++i) {
      const std::int32_t place = group.places[i];
      const double* const slope = slopes_ + (place < 0 ? 0 : place);
      const double share = static_cast<double>(group.rowShares[i]);
      const double value = (1.0 - share) * slope[0] + share * slope[intervals_];
      weights[i] = place < 0 ? 0.0 : value;
    }
    alignas(64) double weighed[3][groupSize];
    for (int c = 0; c < 3; ++c)
      for (int i = 0; i < groupSize; ++i)
        weighed[c][i] = static_cast<double>(group.slopes[c][i]) * weights[i];
    gradient_.add(x, weighed[0], groupSize);
  }

  const double* slopes_;
  std::int64_t intervals_;
  KeptSamples kept_;  ///< from the present row on
  const DerivativeFrame<Map>& frame_;
  typename MapParts<Map>::Gradient gradient_;
};
