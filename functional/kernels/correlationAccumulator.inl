/// The samples of the correlation family: those whose two values lie in their ranges.
class CorrelationSamples {
 public:
  explicit CorrelationSamples(const CorrelationSums& sums)
      : minRef_(Lanes::all(sums.minRef)),
        maxRef_(Lanes::all(sums.maxRef)),
        minModel_(Lanes::all(sums.minModel)),
        maxModel_(Lanes::all(sums.maxModel)) {}

  typename Lanes::Mask accepted(typename Lanes::Mask counts, const double* reference) const {
    return Lanes::both(counts, Lanes::within(Lanes::load(reference), minRef_, maxRef_));
  }

  /// Hands the values of a column on, with 1 in the lanes that count and zeros in the rest: adding
  /// a zero leaves a sum as it is, as none is ever -0.0.
  template <class Columns, class Add>
  [[gnu::always_inline]] void take(const Columns& columns, int i, Add add) const {
    const auto zero = Lanes::all(0.0);
    const auto model = Lanes::load(columns.model + i * Lanes::width);
    const auto counts = Lanes::both(columns.counts[i], Lanes::within(model, minModel_, maxModel_));
    add(Lanes::select(counts, Lanes::load(columns.reference + i * Lanes::width), zero),
        Lanes::select(counts, model, zero), Lanes::select(counts, Lanes::all(1.0), zero));
  }

 private:
  typename Lanes::Doubles minRef_;
  typename Lanes::Doubles maxRef_;
  typename Lanes::Doubles minModel_;
  typename Lanes::Doubles maxModel_;
};

struct SingleLane {
  using Doubles = double;
};

/// The five sums of a slice, in each lane one of its own. They go into the totals when it ends.
template <class LanesOf>
struct CorrelationSubtotals {
  using Value = typename LanesOf::Doubles;

  Value refSq = {};
  Value modelSq = {};
  Value refModel = {};
  Value ref = {};
  Value model = {};

  [[gnu::always_inline]] void add(Value r, Value m) {
    refSq = refSq + r * r;
    modelSq = modelSq + m * m;
    refModel = refModel + m * r;
    ref = ref + r;
    model = model + m;
  }

  void addTo(CorrelationSums& sums) const {
    sums.refSq += refSq;
    sums.modelSq += modelSq;
    sums.refModel += refModel;
    sums.ref += ref;
    sums.model += model;
  }
};

/// Correlation sums of many slices: each lane adds up a slice of its own.
class SlicewiseCorrelation {
 public:
  static constexpr Abreast abreast = Abreast::slices;

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

/// Correlation sums of a few slices, which would leave most lanes empty: the values of a block of
/// rows are kept and added up row after row.
class RowwiseCorrelation {
 public:
  static constexpr Abreast abreast = Abreast::rows;

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
  double* values_;  ///< of a column: the reference's, the model's, each a value per lane
  double* end_ = nullptr;
  int slice_;
};
