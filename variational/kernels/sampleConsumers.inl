#pragma once

#include "variational/kernels/mapParts.inl"

/// Adds up values, and products of values, of the samples.
class SumsConsumer {
 public:
  static constexpr bool wantsGradient = false;

  void startSlice(int) {}
  void endSlice(int) {}
  void startRow(int) {}
  void endRow(int) {}

  void take(const SampleGroups& groups, const double (*)[chunkSize]) {
    for (int i = 0; i < groups.count * partsPerGroup; ++i) add(groups, i);
  }

  /// The samples of one part of the groups.
  [[gnu::always_inline]] void add(const SampleGroups& groups, int i) {
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
  void startRow(int) {}
  void endRow(int) {}

  void take(const SampleGroups& groups, const double (*)[chunkSize]) {
    alignas(64) double rowShares[chunkSize];
    take(groups, rowShares);
  }

  /// The same; `rowShares` receives the share of the upper row of each sample.
  [[gnu::always_inline]] void take(const SampleGroups& groups, double* rowShares) {
    alignas(64) std::int64_t bins[chunkSize];
    alignas(64) double columnShares[chunkSize];
    const int n = groups.count * groupSize;
    for (int i = 0; i < n; i += Lanes::width) {
      typename Lanes::Doubles row;
      typename Lanes::Doubles column;
      Lanes::store(rowShares + i, rows_.split(Lanes::load(groups.reference + i), row));
      Lanes::store(columnShares + i, columns_.split(Lanes::load(groups.model + i), column));
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
      : histogram_(sums), rows_(sums.rows), columns_(sums.columns), kept_(kept) {
    intervals_ = sums.columns.count - 1;
  }

  void startSlice(int) {}
  void endSlice(int) {}
  void startRow(int) { rowCount_ = 0; }
  void endRow(int) {
    *kept_.rowCounts++ = rowCount_;
    kept_.groups += rowCount_;
    kept_.x += rowCount_;
  }

  void take(const SampleGroups& groups, const double (*slopes)[chunkSize]) {
    alignas(64) double rowShares[chunkSize];
    histogram_.take(groups, rowShares);
    for (int g = 0; g < groups.count; ++g) keep(groups, g, rowShares, slopes);
  }

 private:
  [[gnu::always_inline]] void keep(const SampleGroups& groups, int g, const double* rowShares,
                                   const double (*slopes)[chunkSize]) {
    KeptGroup& kept = kept_.groups[rowCount_];
    kept_.x[rowCount_++] = groups.x[g];
    alignas(64) double places[groupSize];
    const auto zero = Lanes::all(0.0);
    for (int p = 0; p < partsPerGroup; ++p) {
      const int i = g * groupSize + p * Lanes::width;
      const auto counts = groups.counts[g * partsPerGroup + p];
      const auto model = Lanes::load(groups.model + i);
      typename Lanes::Doubles row;
      typename Lanes::Doubles column;
      rows_.split(Lanes::load(groups.reference + i), row);
      columns_.split(model, column);
      Lanes::store(places + p * Lanes::width,
                   Lanes::select(Lanes::both(counts, columns_.holds(model)),
                                 row * Lanes::all(intervals_) + column, Lanes::all(-1.0)));
      alignas(64) double slope[Lanes::width];
      for (int c = 0; c < 3; ++c) {
        Lanes::store(slope, Lanes::select(counts, Lanes::load(slopes[c] + i), zero));
        for (int k = 0; k < Lanes::width; ++k)
          kept.slopes[c][p * Lanes::width + k] = static_cast<float>(slope[k]);
      }
    }
    for (int k = 0; k < groupSize; ++k) {
      kept.places[k] = static_cast<std::int32_t>(places[k]);
      kept.rowShares[k] = static_cast<float>(rowShares[g * groupSize + k]);
    }
  }

  HistogramConsumer histogram_;
  BinAxis rows_;
  BinAxis columns_;
  KeptSamples kept_;  ///< from the present row on
  double intervals_;
  int rowCount_ = 0;
};

/// Derivatives by a rule that is linear in the two values; adds up the squared differences as well.
class LinearWeights {
 public:
  static constexpr int sets = 1;

  explicit LinearWeights(const LinearRule& rule)
      : byReference_(Lanes::all(rule.byReference)),
        byModel_(Lanes::all(rule.byModel)),
        constant_(Lanes::all(rule.constant)) {}

  void fill(const SampleGroups& groups, double (*weights)[chunkSize]) {
    const auto zero = Lanes::all(0.0);
    for (int i = 0; i < groups.count * partsPerGroup; ++i) {
      const auto r = Lanes::load(groups.reference + i * Lanes::width);
      const auto m = Lanes::load(groups.model + i * Lanes::width);
      const auto d = Lanes::select(groups.counts[i], r - m, zero);
      differenceSq_.add(i % partsPerGroup, d * d);
      count_.add(i % partsPerGroup, Lanes::select(groups.counts[i], Lanes::all(1.0), zero));
      Lanes::store(weights[0] + i * Lanes::width, (byReference_ * r + byModel_ * m) + constant_);
    }
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
};

/// The reference's value, the model's value and 1; adds up the samples as well.
class MomentWeights {
 public:
  static constexpr int sets = numMoments;

  void fill(const SampleGroups& groups, double (*weights)[chunkSize]) {
    for (int i = 0; i < groups.count * partsPerGroup; ++i) {
      const int at = i * Lanes::width;
      sums_.add(groups, i);
      Lanes::store(weights[0] + at, Lanes::load(groups.reference + at));
      Lanes::store(weights[1] + at, Lanes::load(groups.model + at));
      Lanes::store(weights[2] + at, Lanes::all(1.0));
    }
  }

  void addTo(SampleSums& sums) const { sums_.addTo(sums); }

 private:
  SumsConsumer sums_;
};

/// Weighs the model's gradient at each sample and hands it to the controls.
template <class Map, class Weights>
class GradientConsumer {
 public:
  static constexpr bool wantsGradient = true;

  GradientConsumer(Weights& weights, const DerivativeFrame<Map>& frame, double* scratch,
                   typename Map::Derivative* gradient)
      : weights_(weights), gradient_(frame, scratch, gradient) {}

  void startSlice(int z) { gradient_.startSlice(z); }
  void endSlice(int z) { gradient_.endSlice(z); }
  void startRow(int y) { gradient_.startRow(y); }
  void endRow(int y) { gradient_.endRow(y); }

  void take(const SampleGroups& groups, const double (*slopes)[chunkSize]) {
    alignas(64) double weights[Weights::sets][chunkSize];
    alignas(64) double weighed[3 * Weights::sets][chunkSize];
    weights_.fill(groups, weights);
    const auto zero = Lanes::all(0.0);
    for (int i = 0; i < groups.count * partsPerGroup; ++i)
      for (int s = 0; s < Weights::sets; ++s)
        for (int c = 0; c < 3; ++c) {
          const int at = i * Lanes::width;
          Lanes::store(
              weighed[3 * s + c] + at,
              Lanes::select(groups.counts[i],
                            Lanes::load(slopes[c] + at) * Lanes::load(weights[s] + at), zero));
        }
    for (int g = 0; g < groups.count; ++g)
      gradient_.add(groups.x[g], weighed[0] + g * groupSize, chunkSize);
  }

 private:
  Weights& weights_;
  typename MapParts<Map>::template Gradient<Weights::sets> gradient_;
};

/// Hands the kept samples of some slices to the controls.
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
    for (int y = 0; y < ny; ++y)
      if (!isEmpty(spanOf(frame_, y, z))) addRow(y);
    gradient_.endSlice(z);
  }

 private:
  void addRow(int y) {
    const int count = *kept_.rowCounts++;
    gradient_.startRow(y);
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
  typename MapParts<Map>::template Gradient<1> gradient_;
};
