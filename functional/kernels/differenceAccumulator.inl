/// One running sum of negated squared differences over the whole walk.
class DifferenceAccumulator {
 public:
  explicit DifferenceAccumulator(DifferenceSums& sums) : sums_(sums) {}

  void startSlice() {}
  void endSlice() {}

  /// Takes samples i of 0 .. n - 1 that `accepted(i)` admits, in rising order.
  template <class Accepted>
  void addRow(const double* reference, const double* model, int stride, int n, Accepted accepted) {
    double sum = sums_.negSquaredDiff;
    long count = 0;
    for (int i = 0; i < n; ++i) {
      if (!accepted(i)) continue;
      const double d = model[static_cast<long>(i) * stride] - reference[i];
      sum -= d * d;
      ++count;
    }
    sums_.negSquaredDiff = sum;
    sums_.count += count;
  }

 private:
  DifferenceSums& sums_;
};
