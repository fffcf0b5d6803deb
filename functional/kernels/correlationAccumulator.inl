/// Five sums over the samples whose two values lie in their ranges: a subtotal for each slice,
/// which goes into the totals when the slice ends.
class CorrelationAccumulator {
 public:
  explicit CorrelationAccumulator(CorrelationSums& sums) : sums_(sums) {}

  void startSlice() { slice_ = Subtotal(); }

  void endSlice() {
    sums_.refSq += slice_.refSq;
    sums_.modelSq += slice_.modelSq;
    sums_.refModel += slice_.refModel;
    sums_.ref += slice_.ref;
    sums_.model += slice_.model;
  }

  /// Takes samples i of 0 .. n - 1 that `accepted(i)` admits, in rising order.
  template <class Accepted>
  void addRow(const double* reference, const double* model, int stride, int n, Accepted accepted) {
    Subtotal sum = slice_;
    long count = 0;
    for (int i = 0; i < n; ++i) {
      const double r = reference[i];
      const double m = model[static_cast<long>(i) * stride];
      if (!(r >= sums_.minRef && r <= sums_.maxRef) || !accepted(i)) continue;
      if (!(m >= sums_.minModel && m <= sums_.maxModel)) continue;
      sum.refSq += r * r;
      sum.modelSq += m * m;
      sum.refModel += m * r;
      sum.ref += r;
      sum.model += m;
      ++count;
    }
    slice_ = sum;
    sums_.count += count;
  }

 private:
  struct Subtotal {
    double refSq = 0.0;
    double modelSq = 0.0;
    double refModel = 0.0;
    double ref = 0.0;
    double model = 0.0;
  };

  CorrelationSums& sums_;
  Subtotal slice_;
};
