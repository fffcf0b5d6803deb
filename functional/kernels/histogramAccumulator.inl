/// Partial-volume joint histogram: each sample spreads a weight of 1 over the four bins around its
/// place between rows (reference) and columns (model).
template <bool ranged>
class HistogramAccumulator {
 public:
  explicit HistogramAccumulator(HistogramSums& sums) : sums_(sums) {}

  void startSlice() {}
  void endSlice() {}

  /// Takes samples i of 0 .. n - 1 that `accepted(i)` admits, in rising order; only those whose two
  /// values lie in their ranges, if the ranges count.
  template <class Accepted>
  void addRow(const double* reference, const double* model, int stride, int n, Accepted accepted) {
    long count = 0;
    const long columns = sums_.columns.count;
    for (int i = 0; i < n; ++i) {
      const double r = reference[i];
      const double m = model[static_cast<long>(i) * stride];
      if (!accepted(i)) continue;
      if (ranged && !(holds(sums_.rows, r) && holds(sums_.columns, m))) continue;
      const Bin row(sums_.rows, r);
      const Bin column(sums_.columns, m);
      double* const bin = sums_.histogram + row.lower * columns + column.lower;
      bin[0] += (1.0 - row.fraction) * (1.0 - column.fraction);
      bin[columns] += row.fraction * (1.0 - column.fraction);
      bin[1] += (1.0 - row.fraction) * column.fraction;
      bin[columns + 1] += row.fraction * column.fraction;
      ++count;
    }
    sums_.count += count;
  }

 private:
  /// Lower one of the two bins of a value, and the share of the upper one. NaN counts as the
  /// minimum.
  struct Bin {
    long lower;
    double fraction;

    Bin(const HistogramAxis& axis, double value) {
      double x = (value - axis.min) * axis.scale;
      x = x > 0.0 ? x : 0.0;
      x = x < axis.count - 1 ? x : axis.count - 1;
      const int i = static_cast<int>(x);
      lower = i < axis.count - 2 ? i : axis.count - 2;
      fraction = x - static_cast<double>(lower);
    }
  };

  static bool holds(const HistogramAxis& axis, double value) {
    return value >= axis.min && value <= axis.max;
  }

  HistogramSums& sums_;
};
