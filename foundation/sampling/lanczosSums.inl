// Included once per instruction set, inside a namespace that holds that set's Lanes. Nothing here
// may use functions that are shared with the rest of the library.

/// The weights of the taps of a batch of points on one axis.
class LanczosShares {
 public:
  void compute(const LanczosPoints::Axis& axis, int count) {
    // Prevents a division by zero for a point on a voxel.
    const auto least = Lanes::all(negligibleFraction);
    for (int i = 0; i < count; i += Lanes::width) {
      const auto fraction = Lanes::larger(Lanes::load(axis.fraction + i), least);
      const auto sine = Lanes::load(axis.sine + i);
      const auto cosine = Lanes::load(axis.cosine + i);
      for (int tap = 0; tap < numLanczosTaps; ++tap)
        Lanes::store(shares_[tap] + i, lanczosWeight(tap, fraction, sine, cosine));
    }
    for (int i = 0; i < count; ++i) {
      const int first = axis.below[i] - lanczosLobes + 1;
      if (!(axis.fraction[i] > negligibleFraction))
        keepOneTap(i);
      else if (first < 0 || first + numLanczosTaps > axis.n)
        dropTapsBeyond(first, axis.n, i);
    }
    for (int i = 0; i < count; i += Lanes::width) {
      auto sum = Lanes::all(0.0);
      for (int tap = 0; tap < numLanczosTaps; ++tap) sum = sum + Lanes::load(shares_[tap] + i);
      for (int tap = 0; tap < numLanczosTaps; ++tap)
        Lanes::store(shares_[tap] + i, Lanes::load(shares_[tap] + i) / sum);
    }
  }

  double of(int tap, int point) const { return shares_[tap][point]; }

 private:
  void keepOneTap(int point) {
    for (int tap = 0; tap < numLanczosTaps; ++tap)
      shares_[tap][point] = tap == lanczosLobes - 1 ? 1.0 : 0.0;
  }

  void dropTapsBeyond(int first, std::int64_t n, int point) {
    for (int tap = 0; tap < numLanczosTaps; ++tap)
      if (first + tap < 0 || first + tap >= n) shares_[tap][point] = 0.0;
  }

  double shares_[numLanczosTaps][LanczosPoints::most];
};

/// The sums of a batch of points. Neighbouring points share most of their windows: points of a run
/// that read the same lines of voxels share a table, in which the voxels at one index of all lines
/// are adjacent, so that the lines are summed in parallel, each in its own order. Taps with weight
/// 0 add zeros, which does not change a sum.
template <class T>
class LanczosRuns {
 public:
  LanczosRuns(const T* voxels, const LanczosPoints& points)
      : voxels_(voxels), x_(points.axes[0]), y_(points.axes[1]), z_(points.axes[2]) {
    for (int axis = 0; axis < 3; ++axis) shares_[axis].compute(points.axes[axis], points.count);
    count_ = points.count;
  }

  void sum(double* sums) {
    for (int first = 0; first < count_;) {
      const int last = endOfRun(first);
      if (liesBetweenSlices(first))
        weighRun<taps>(first, last, shares_[1]);
      else
        weighRun<1>(first, last, shares_[y_.fraction[first] > 0.0 ? 1 : 2]);
      first = last;
    }
    addUp(sums);
  }

 private:
  static constexpr int taps = numLanczosTaps;
  static constexpr int before = lanczosLobes - 1;  ///< taps before the voxel below a point
  static constexpr int block = 8;                  ///< columns that are filled at once
  static constexpr int maxColumns = LanczosPoints::most + block;
  static constexpr int together = 8;  ///< points whose terms are added in parallel

  using Pair = double __attribute__((vector_size(16)));
  using Four = double __attribute__((vector_size(32)));

  /// The end of the points that read the lines of point `first` without a gap between windows.
  int endOfRun(int first) {
    int low = x_.below[first];
    int high = low;
    int i = first + 1;
    for (; i < count_ && readsLinesOf(first, i); ++i) {
      const int x = x_.below[i];
      if (x < low - taps || x > high + taps) break;
      const int newLow = x < low ? x : low;
      const int newHigh = x > high ? x : high;
      if (newHigh - newLow + taps + block > maxColumns) break;
      low = newLow;
      high = newHigh;
    }
    start_ = low - before;
    columns_ = high - low + taps;
    return i;
  }

  bool readsLinesOf(int a, int b) const {
    return y_.below[a] == y_.below[b] && z_.below[a] == z_.below[b] &&
           (y_.fraction[a] > 0.0) == (y_.fraction[b] > 0.0) &&
           (z_.fraction[a] > 0.0) == (z_.fraction[b] > 0.0);
  }

  /// True if the point reads lines of six slices, not of one.
  bool liesBetweenSlices(int point) const {
    return y_.fraction[point] > 0.0 && z_.fraction[point] > 0.0;
  }

  template <int planes>
  void weighRun(int first, int last, const LanczosShares& across) {
    constexpr int lines = taps * planes;
    fillTable<planes>(first);
    for (int i = first; i < last; ++i) shareOut<planes>(i, across, terms_[i]);
    for (int i = first; i < last; ++i) weigh<lines>(i, terms_[i]);
  }

  /// The weight of each line.
  template <int planes>
  void shareOut(int point, const LanczosShares& across, double* shares) const {
    Pair y[taps / 2];
    for (int j = 0; j < taps / 2; ++j)
      y[j] = Pair{across.of(2 * j, point), across.of(2 * j + 1, point)};
    for (int k = 0; k < planes; ++k) {
      const double z = planes > 1 ? shares_[2].of(k, point) : 1.0;
      for (int j = 0; j < taps / 2; ++j) {
        const Pair share = z * y[j];
        __builtin_memcpy(shares + taps * k + 2 * j, &share, sizeof share);
      }
    }
  }

  /// Turns the weight of each line into its term of the sum.
  template <int lines>
  void weigh(int point, double* terms) const {
    const double* const column =
        table_ + static_cast<std::int64_t>(x_.below[point] - before - start_) * lines;
    const double x[taps] = {shares_[0].of(0, point), shares_[0].of(1, point),
                            shares_[0].of(2, point), shares_[0].of(3, point),
                            shares_[0].of(4, point), shares_[0].of(5, point)};
    int l = 0;
    for (; l + Lanes::width <= lines; l += Lanes::width)
      weighLines<typename Lanes::Doubles, lines>(x, column + l, terms + l);
    if constexpr (Lanes::width > 4)
      for (; l + 4 <= lines; l += 4) weighLines<Four, lines>(x, column + l, terms + l);
    for (; l < lines; l += 2) weighLines<Pair, lines>(x, column + l, terms + l);
  }

  template <class Doubles, int lines>
  [[gnu::always_inline]] static void weighLines(const double (&x)[taps], const double* column,
                                                double* terms) {
    Doubles voxels;
    __builtin_memcpy(&voxels, column, sizeof voxels);
    Doubles sum = x[0] * voxels;
    for (int tap = 1; tap < taps; ++tap) {
      __builtin_memcpy(&voxels, column + tap * lines, sizeof voxels);
      sum = sum + x[tap] * voxels;
    }
    Doubles share;
    __builtin_memcpy(&share, terms, sizeof share);
    const Doubles term = share * sum;
    __builtin_memcpy(terms, &term, sizeof term);
  }

  void addUp(double* sums) const {
    for (int i = 0; i < count_;) {
      if (lieBetweenSlices(i, together)) {
        addUp<taps * taps, together>(i, sums);
        i += together;
        continue;
      }
      if (liesBetweenSlices(i))
        addUp<taps * taps, 1>(i, sums);
      else
        addUp<taps, 1>(i, sums);
      ++i;
    }
  }

  bool lieBetweenSlices(int first, int n) const {
    for (int i = first; i < first + n; ++i)
      if (i >= count_ || !liesBetweenSlices(i)) return false;
    return true;
  }

  /// The terms of n points, each in its own order.
  template <int lines, int n>
  void addUp(int first, double* sums) const {
    double sum[n] = {};
    for (int l = 0; l < lines; ++l)
      for (int i = 0; i < n; ++i) sum[i] += terms_[first + i][l];
    for (int i = 0; i < n; ++i) sums[first + i] = sum[i];
  }

  static std::int64_t limited(std::int64_t index, std::int64_t n) {
    return index < 0 ? 0 : index < n ? index : n - 1;
  }

  /// The lines that a point reads, starting at index `from`. Those outside the volume have weight
  /// 0.
  template <int planes>
  void findLines(int point, int from, const T* (&lines)[taps * planes]) const {
    const bool acrossZ = planes > 1 || z_.fraction[point] > 0.0;
    const bool acrossY = planes > 1 || !acrossZ;
    for (int k = 0; k < planes; ++k)
      for (int j = 0; j < taps; ++j) {
        const std::int64_t y = y_.below[point] + (acrossY ? j - before : 0);
        const std::int64_t z = z_.below[point] + (acrossZ ? (planes > 1 ? k : j) - before : 0);
        lines[taps * k + j] =
            voxels_ + (from + x_.n * (limited(y, y_.n) + y_.n * limited(z, z_.n)));
      }
  }

  /// Indices outside the volume have weight 0 and count as zeros.
  template <int planes>
  void fillTable(int point) {
    constexpr int lines = taps * planes;
    const int from = start_ > 0 ? start_ : 0;
    const int to = start_ + columns_ < x_.n ? start_ + columns_ : static_cast<int>(x_.n);
    for (int i = 0; i < (from - start_) * lines; ++i) table_[i] = 0.0;
    for (int i = (to - start_) * lines; i < columns_ * lines; ++i) table_[i] = 0.0;
    const T* line[lines];
    findLines<planes>(point, from, line);
    // Whole blocks while all lines have voxels there, even if those belong to the next line.
    const std::int64_t room = voxels_ + x_.n * y_.n * z_.n - line[lines - 1];
    double* column = table_ + (from - start_) * lines;
    for (int c = 0; c < to - from;) {
      const int left = to - from - c;
      const int n = room - c < block ? 1 : left > block / 2 ? block : block / 2;
      if (n == block)
        copy<block, lines>(line, c, column);
      else if (n > 1)
        copy<block / 2, lines>(line, c, column);
      else
        for (int l = 0; l < lines; ++l) column[l] = static_cast<double>(line[l][c]);
      c += n;
      column += n * lines;
    }
  }

  /// Copies n indices of all lines into their columns.
  template <int n, int lines>
  static void copy(const T* const (&line)[lines], int place, double* columns) {
    double a[block];
    double b[block];
    for (int l = 0; l < lines; l += 2) {
      for (int c = 0; c < n; c += Lanes::width) {
        Lanes::store(a + c, Lanes::widen(line[l] + place + c));
        Lanes::store(b + c, Lanes::widen(line[l + 1] + place + c));
      }
      for (int c = 0; c < n; ++c) {
        const Pair pair = {a[c], b[c]};
        __builtin_memcpy(columns + c * lines + l, &pair, sizeof pair);
      }
    }
  }

  const T* voxels_;
  const LanczosPoints::Axis& x_;
  const LanczosPoints::Axis& y_;
  const LanczosPoints::Axis& z_;
  int count_;
  int start_ = 0;    ///< index of the table's first column
  int columns_ = 0;  ///< columns of the table in use
  LanczosShares shares_[3];
  alignas(64) double terms_[LanczosPoints::most][taps * taps];
  alignas(64) double table_[taps * taps * maxColumns];
};

template <class T>
void sumLanczos(const void* voxels, const LanczosPoints& points, double* sums) {
  LanczosRuns<T>(static_cast<const T*>(voxels), points).sum(sums);
  Lanes::leave();
}

constexpr LanczosSums makeLanczosSums() {
  LanczosSums sums = {};
  sums.ofType[NmPrimType::UnsignedChar] = sumLanczos<unsigned char>;
  sums.ofType[NmPrimType::Short] = sumLanczos<short>;
  sums.ofType[NmPrimType::Int] = sumLanczos<int>;
  sums.ofType[NmPrimType::Float] = sumLanczos<float>;
  sums.ofType[NmPrimType::Double] = sumLanczos<double>;
  sums.ofType[NmPrimType::UnsignedShort] = sumLanczos<unsigned short>;
  return sums;
}
