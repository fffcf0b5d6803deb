// Included once per instruction set, inside a namespace of that set. Nothing here may use functions
// that are shared with the rest of the library. The loops are plain so that the compiler makes
// vectors of them, without a change of any order of operations.

static void copyPresent(const float* reference, const float* warped, int n,
                        float* __restrict referenceCopy, float* __restrict warpedCopy,
                        float* __restrict present) {
  for (int x = 0; x < n; ++x) {
    const float r = reference[x];
    const float m = warped[x];
    // False for NaN.
    const bool is = (r <= largestCorrelated) & (r >= -largestCorrelated) &
                    (m <= largestCorrelated) & (m >= -largestCorrelated);
    referenceCopy[x] = is ? r : 0.0f;
    warpedCopy[x] = is ? m : 0.0f;
    present[x] = is ? 1.0f : 0.0f;
  }
}

static void markCounting(const unsigned char* counts, const float* present, int n,
                         float* __restrict counting) {
  for (int x = 0; x < n; ++x) counting[x] = static_cast<float>(counts[x] != 0) * present[x];
}

template <int radius>
struct RowLoops {
  static constexpr int taps = 2 * radius + 1;

  static void addProducts(const float* const* rows, int n, long stride, float* sums) {
    addProducts(rows, n, stride, sums + WindowSum::present * stride,
                sums + WindowSum::reference * stride, sums + WindowSum::warped * stride,
                sums + WindowSum::referenceSquares * stride, sums + WindowSum::products * stride,
                sums + WindowSum::warpedSquares * stride);
  }

  static void addRows(const float* const* rows, int kinds, int n, long stride,
                      float* __restrict sums) {
    n -= n % rowBlock;
    for (int kind = 0; kind < kinds; ++kind) {
      const float* row[taps];
      for (int t = 0; t < taps; ++t) row[t] = rows[t] + kind * stride;
      float* const sum = sums + kind * stride;
      for (int x = 0; x < n; ++x) {
        float s = row[0][x];
        for (int t = 1; t < taps; ++t) s += row[t][x];
        sum[x] = s;
      }
    }
  }

  static void correlate(const float* sums, const float* counting, int n, long stride,
                        const CorrelationRule& rule, float* factors, double* squares,
                        int* counted) {
    correlate(sums, counting, n, stride, rule, factors + WindowFactor::ofReference * stride,
              factors + WindowFactor::ofWarped * stride, factors + WindowFactor::constant * stride,
              squares, counted);
  }

  static void findForces(const ForceRows& rows, int n, long stride, float* const* force) {
    findForces(rows, n, stride, force[0], force[1], force[2]);
  }

 private:
  static void addProducts(const float* const* rows, int n, long stride, float* __restrict count,
                          float* __restrict r, float* __restrict m, float* __restrict rr,
                          float* __restrict rm, float* __restrict mm) {
    n -= n % rowBlock;
    const float* p[taps];
    const float* a[taps];
    const float* b[taps];
    for (int t = 0; t < taps; ++t) {
      p[t] = rows[t] + InputRow::present * stride;
      a[t] = rows[t] + InputRow::reference * stride;
      b[t] = rows[t] + InputRow::warped * stride;
    }
    for (int x = 0; x < n; ++x) {
      float ones = p[0][x];
      float ra = a[0][x];
      float mb = b[0][x];
      float raa = ra * ra;
      float rab = ra * mb;
      float rbb = mb * mb;
      for (int t = 1; t < taps; ++t) {
        const float va = a[t][x];
        const float vb = b[t][x];
        ones += p[t][x];
        ra += va;
        mb += vb;
        raa += va * va;
        rab += va * vb;
        rbb += vb * vb;
      }
      count[x] = ones;
      r[x] = ra;
      m[x] = mb;
      rr[x] = raa;
      rm[x] = rab;
      mm[x] = rbb;
    }
  }

  [[gnu::always_inline]] static float across(const float* row, int x) {
    float s = row[x - radius];
    for (int t = 1 - radius; t <= radius; ++t) s += row[x + t];
    return s;
  }

  static void correlate(const float* sums, const float* counting, int n, long stride,
                        const CorrelationRule& rule, float* __restrict ofReference,
                        float* __restrict ofWarped, float* __restrict constant,
                        double* __restrict squares, int* __restrict counted) {
    const float* const present = sums + WindowSum::present * stride;
    const float* const reference = sums + WindowSum::reference * stride;
    const float* const warped = sums + WindowSum::warped * stride;
    const float* const referenceSquares = sums + WindowSum::referenceSquares * stride;
    const float* const products = sums + WindowSum::products * stride;
    const float* const warpedSquares = sums + WindowSum::warpedSquares * stride;
    n -= n % rowBlock;
    const float eps = rule.eps;
    const float smallest = rule.smallestCommon;
    for (int x = 0; x < n; ++x) {
      const float size = across(present, x) + 1e-10f;  // a division by 0 less, the same from 1 on
      const float sumR = across(reference, x);
      const float sumM = across(warped, x);
      const float share = 1.0f / size;
      const float r = sumR * share;
      const float m = sumM * share;
      const float ownR = across(referenceSquares, x) - sumR * r;
      const float ownM = across(warpedSquares, x) - sumM * m;
      const float vr = (ownR > 0.0f ? ownR : 0.0f) + size * eps;
      const float vm = (ownM > 0.0f ? ownM : 0.0f) + size * eps;
      const float common = across(products, x) - sumM * r;
      const float c = common > smallest ? common : smallest;
      const float inverse = 1.0f / (vr * vm);
      const float a = 2.0f * c * inverse * counting[x];
      const float b = -(a * c) * (vr * inverse);
      ofReference[x] = a;
      ofWarped[x] = b;
      constant[x] = -(a * r) - b * m;
      squares[x] += static_cast<double>(0.5f * a * c);
      counted[x] += static_cast<int>(counting[x]);
    }
  }

  /// The difference between the neighbours on either side; 0 stands for a missing one.
  [[gnu::always_inline]] static float slope(float before, float hasBefore, float here, float after,
                                            float hasAfter) {
    const float low = before + (1.0f - hasBefore) * here;
    const float high = after + (1.0f - hasAfter) * here;
    return (high - low) * (1.0f - 0.5f * hasBefore * hasAfter);
  }

  static void findForces(const ForceRows& rows, int n, long stride, float* __restrict alongX,
                         float* __restrict alongY, float* __restrict alongZ) {
    const long toWarped = InputRow::warped * stride;
    const long toPresent = InputRow::present * stride;
    const float* const a = rows.factors + WindowFactor::ofReference * stride;
    const float* const b = rows.factors + WindowFactor::ofWarped * stride;
    const float* const k = rows.factors + WindowFactor::constant * stride;
    const float* const r = rows.input + InputRow::reference * stride;
    const float* const m = rows.input + toWarped;
    const float* const present = rows.input + toPresent;
    const float* const counting = rows.counting;
    const float* const yBefore = rows.inputBeside[0][0] + toWarped;
    const float* const yAfter = rows.inputBeside[0][1] + toWarped;
    const float* const zBefore = rows.inputBeside[1][0] + toWarped;
    const float* const zAfter = rows.inputBeside[1][1] + toWarped;
    const float* const hasYBefore = rows.inputBeside[0][0] + toPresent;
    const float* const hasYAfter = rows.inputBeside[0][1] + toPresent;
    const float* const hasZBefore = rows.inputBeside[1][0] + toPresent;
    const float* const hasZAfter = rows.inputBeside[1][1] + toPresent;
    for (int x = 0; x < n; ++x) {
      const float derivative =
          (r[x] * across(a, x) + m[x] * across(b, x) + across(k, x)) * counting[x];
      alongX[x] = derivative * slope(m[x - 1], present[x - 1], m[x], m[x + 1], present[x + 1]);
      alongY[x] = derivative * slope(yBefore[x], hasYBefore[x], m[x], yAfter[x], hasYAfter[x]);
      alongZ[x] = derivative * slope(zBefore[x], hasZBefore[x], m[x], zAfter[x], hasZAfter[x]);
    }
  }
};

template <int radius>
static constexpr WindowKernels windowKernels() {
  using Loops = RowLoops<radius>;
  return {Loops::addProducts, Loops::addRows, Loops::correlate, Loops::findForces};
}

static constexpr LocalCorrelationKernels makeLocalCorrelation() {
  return {copyPresent,
          markCounting,
          {windowKernels<1>(), windowKernels<2>(), windowKernels<3>(), windowKernels<4>()}};
}
