#pragma once

#include "variational/kernels/tensorPositions.inl"

/// Adds up values, and products of values, of the samples.
class SumsConsumer {
 public:
  static constexpr bool wantsGradient = false;

  void startSlice(int) {}
  void endSlice(int) {}
  void startRow(int) {}
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
  void startRow(int) {}
  void endRow(int) {}

  void take(const SampleGroups& groups, const double (*)[chunkSize]) {
    alignas(64) std::int64_t bins[chunkSize];
    alignas(64) double rowShares[chunkSize];
    alignas(64) double columnShares[chunkSize];
    const int n = groups.count * groupSize;
    for (int i = 0; i < n; i += Lanes::width) {
      typename Lanes::Doubles row;
      typename Lanes::Doubles column;
      Lanes::store(rowShares + i, rows_.split(Lanes::load(groups.reference + i), row));
      Lanes::store(columnShares + i, columns_.split(Lanes::load(groups.model + i), column));
      Lanes::storeWhole(bins + i,
                        Lanes::select(groups.counts[i / Lanes::width],
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

/// Derivatives by a rule that is linear in the two values; adds up the squared differences as well.
class LinearWeights {
 public:
  explicit LinearWeights(const LinearRule& rule)
      : byReference_(Lanes::all(rule.byReference)),
        byModel_(Lanes::all(rule.byModel)),
        constant_(Lanes::all(rule.constant)) {}

  void fill(const SampleGroups& groups, double* weights) {
    const auto zero = Lanes::all(0.0);
    for (int i = 0; i < groups.count * partsPerGroup; ++i) {
      const auto r = Lanes::load(groups.reference + i * Lanes::width);
      const auto m = Lanes::load(groups.model + i * Lanes::width);
      const auto d = Lanes::select(groups.counts[i], r - m, zero);
      differenceSq_.add(i % partsPerGroup, d * d);
      count_.add(i % partsPerGroup, Lanes::select(groups.counts[i], Lanes::all(1.0), zero));
      Lanes::store(weights + i * Lanes::width,
                   Lanes::select(groups.counts[i], (byReference_ * r + byModel_ * m) + constant_,
                                 zero));
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

/// Derivatives from the slopes of a joint histogram's table.
class HistogramWeights {
 public:
  explicit HistogramWeights(const HistogramRule& rule)
      : rows_(rule.rows),
        columns_(rule.columns),
        slopes_(rule.slopes),
        intervals_(rule.columns.count - 1) {}

  void fill(const SampleGroups& groups, double* weights) const {
    alignas(64) std::int64_t places[chunkSize];
    alignas(64) double shares[chunkSize];
    const int n = groups.count * groupSize;
    for (int i = 0; i < n; i += Lanes::width) {
      const auto model = Lanes::load(groups.model + i);
      typename Lanes::Doubles row;
      typename Lanes::Doubles column;
      Lanes::store(shares + i, rows_.split(Lanes::load(groups.reference + i), row));
      columns_.split(model, column);
      Lanes::storeWhole(places + i,
                        Lanes::select(Lanes::both(groups.counts[i / Lanes::width],
                                                  columns_.holds(model)),
                                      row * Lanes::all(static_cast<double>(intervals_)) + column,
                                      Lanes::all(-1.0)));
    }
    for (int i = 0; i < n; ++i) {
      const double* const slope = slopes_ + (places[i] < 0 ? 0 : places[i]);
      const double value = (1.0 - shares[i]) * slope[0] + shares[i] * slope[intervals_];
      weights[i] = places[i] < 0 ? 0.0 : value;
    }
  }

 private:
  BinAxis rows_;
  BinAxis columns_;
  const double* slopes_;
  std::int64_t intervals_;
};

/// Weighs the model's gradient at each sample and hands it to the controls.
template <class Weights>
class GradientConsumer {
 public:
  static constexpr bool wantsGradient = true;

  GradientConsumer(Weights& weights, const TensorMap& map, double* scratch, double* gradient)
      : weights_(weights), gradient_(map, scratch, gradient) {}

  void startSlice(int z) { gradient_.startSlice(z); }
  void endSlice(int z) { gradient_.endSlice(z); }
  void startRow(int y) { gradient_.startRow(y); }
  void endRow(int y) { gradient_.endRow(y); }

  /// `slopes` are the model's derivatives along its axes, and become weighed ones.
  void take(const SampleGroups& groups, double (*slopes)[chunkSize]) {
    alignas(64) double weights[chunkSize];
    weights_.fill(groups, weights);
    const auto zero = Lanes::all(0.0);
    for (int i = 0; i < groups.count * partsPerGroup; ++i)
      for (int c = 0; c < 3; ++c) {
        double* const q = slopes[c] + i * Lanes::width;
        Lanes::store(q, Lanes::select(groups.counts[i],
                                      Lanes::load(q) * Lanes::load(weights + i * Lanes::width),
                                      zero));
      }
    for (int g = 0; g < groups.count; ++g) gradient_.add(groups.x[g], slopes, g * groupSize);
  }

 private:
  Weights& weights_;
  TensorGradient gradient_;
};
