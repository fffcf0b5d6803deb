/// Five sums over the samples whose two values lie in their ranges: a subtotal for each slice,
/// which goes into the totals when the slice ends. A lane adds up a slice of its own.
class CorrelationAccumulator {
 public:
  static constexpr int laneAxis = 2;

  CorrelationAccumulator(CorrelationSums& sums, const Walk& /*walk*/)
      : sums_(sums),
        minRef_(Lanes::all(sums.minRef)),
        maxRef_(Lanes::all(sums.maxRef)),
        minModel_(Lanes::all(sums.minModel)),
        maxModel_(Lanes::all(sums.maxModel)) {}

  void startSlices() { slices_ = Subtotals(); }

  void endSlices(int count) {
    double sums[numSums][Lanes::width];
    for (int k = 0; k < numSums; ++k) Lanes::store(sums[k], slices_.sum[k]);
    for (int r = 0; r < count; ++r) {
      sums_.refSq += sums[0][r];
      sums_.modelSq += sums[1][r];
      sums_.refModel += sums[2][r];
      sums_.ref += sums[3][r];
      sums_.model += sums[4][r];
      sums_.count += static_cast<long>(sums[5][r]);
    }
  }

  void startRows() {}
  void endRows(int /*rows*/) {}
  void finish() {}
  Idle background() const { return {}; }

  typename Lanes::Mask accepted(typename Lanes::Mask counts, const double* reference) const {
    return Lanes::both(counts, Lanes::within(Lanes::load(reference), minRef_, maxRef_));
  }

  template <class Columns>
  void add(const Columns& columns) {
    Subtotals slices = slices_;
    const auto zero = Lanes::all(0.0);
    for (int i = 0; i < columns.count; ++i) {
      const auto model = Lanes::load(columns.model + i * Lanes::width);
      const auto counts =
          Lanes::both(columns.counts[i], Lanes::within(model, minModel_, maxModel_));
      const auto m = Lanes::select(counts, model, zero);
      const auto r = Lanes::select(counts, Lanes::load(columns.reference + i * Lanes::width), zero);
      slices.add(0, r * r);
      slices.add(1, m * m);
      slices.add(2, m * r);
      slices.add(3, r);
      slices.add(4, m);
      slices.add(5, Lanes::select(counts, Lanes::all(1.0), zero));
    }
    slices_ = slices;
  }

 private:
  static constexpr int numSums = 6;

  /// Adding the zero of a sample that does not count leaves a sum as it is: none is ever -0.0.
  struct Subtotals {
    typename Lanes::Doubles sum[numSums] = {};
    void add(int k, typename Lanes::Doubles v) { sum[k] = sum[k] + v; }
  };

  CorrelationSums& sums_;
  typename Lanes::Doubles minRef_;
  typename Lanes::Doubles maxRef_;
  typename Lanes::Doubles minModel_;
  typename Lanes::Doubles maxModel_;
  Subtotals slices_;
};
