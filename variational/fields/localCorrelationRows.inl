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
  for (int x = 0; x < n; ++x) counting[x] = counts[x] != 0 ? present[x] : 0.0f;
}

template <int radius>
struct RowLoops {
  static constexpr int taps = 2 * radius + 1;

  static void addProducts(const float* const* reference, const float* const* warped,
                          const float* const* present, int n, float* sums, long stride) {
    addProducts(reference, warped, present, n, sums + WindowSum::present * stride,
                sums + WindowSum::reference * stride, sums + WindowSum::warped * stride,
                sums + WindowSum::referenceSquares * stride, sums + WindowSum::products * stride,
                sums + WindowSum::warpedSquares * stride);
  }

  static void addRows(const float* const* rows, int n, float* __restrict sum) {
    n -= n % rowBlock;
    const float* row[taps];
    for (int t = 0; t < taps; ++t) row[t] = rows[t];
    for (int x = 0; x < n; ++x) {
      float s = row[0][x];
      for (int t = 1; t < taps; ++t) s += row[t][x];
      sum[x] = s;
    }
  }

  static void correlate(const float* const* sums, const float* counting, int n,
                        const CorrelationRule& rule, float* const* factors, double* squares,
                        int* counted) {
    correlate(sums[WindowSum::present], sums[WindowSum::reference], sums[WindowSum::warped],
              sums[WindowSum::referenceSquares], sums[WindowSum::products],
              sums[WindowSum::warpedSquares], counting, n, rule, factors[0], factors[1], factors[2],
              squares, counted);
  }

  static void findForces(const ForceRows& rows, int n, float* const* force) {
    findForces(rows, n, force[0], force[1], force[2]);
  }

 private:
  static void addProducts(const float* const* reference, const float* const* warped,
                          const float* const* present, int n, float* __restrict count,
                          float* __restrict r, float* __restrict m, float* __restrict rr,
                          float* __restrict rm, float* __restrict mm) {
    n -= n % rowBlock;
    const float* p[taps];
    const float* a[taps];
    const float* b[taps];
    for (int t = 0; t < taps; ++t) {
      p[t] = present[t];
      a[t] = reference[t];
      b[t] = warped[t];
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

  static void correlate(const float* present, const float* reference, const float* warped,
                        const float* referenceSquares, const float* products,
                        const float* warpedSquares, const float* counting, int n,
                        const CorrelationRule& rule, float* __restrict ofReference,
                        float* __restrict ofWarped, float* __restrict constant,
                        double* __restrict squares, int* __restrict counted) {
    n -= n % rowBlock;
    const float eps = rule.eps;
    const float smallest = rule.smallestCommon;
    for (int x = 0; x < n; ++x) {
      const float here = across(present, x);
      const float sumR = across(reference, x);
      const float sumM = across(warped, x);
      const float size = here > 1.0f ? here : 1.0f;
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
      const float slope = 2.0f * c * inverse;
      const float a = counting[x] != 0.0f ? slope : 0.0f;
      const float b = -(a * c) * (vr * inverse);
      ofReference[x] = a;
      ofWarped[x] = b;
      constant[x] = -(a * r) - b * m;
      squares[x] += static_cast<double>(0.5f * a * c);
      counted[x] += counting[x] != 0.0f ? 1 : 0;
    }
  }

  /// The difference between the neighbours on either side, of which one may be missing.
  [[gnu::always_inline]] static float slope(float before, float hasBefore, float here, float after,
                                            float hasAfter) {
    const float low = hasBefore != 0.0f ? before : here;
    const float high = hasAfter != 0.0f ? after : here;
    return (high - low) * (hasBefore + hasAfter > 1.0f ? 0.5f : 1.0f);
  }

  static void findForces(const ForceRows& rows, int n, float* __restrict alongX,
                         float* __restrict alongY, float* __restrict alongZ) {
    const float* const a = rows.factors[WindowFactor::ofReference];
    const float* const b = rows.factors[WindowFactor::ofWarped];
    const float* const k = rows.factors[WindowFactor::constant];
    const float* const r = rows.reference;
    const float* const m = rows.warped;
    const float* const present = rows.present;
    const float* const counting = rows.counting;
    const float* const yBefore = rows.warpedBeside[0][0];
    const float* const yAfter = rows.warpedBeside[0][1];
    const float* const zBefore = rows.warpedBeside[1][0];
    const float* const zAfter = rows.warpedBeside[1][1];
    const float* const hasYBefore = rows.presentBeside[0][0];
    const float* const hasYAfter = rows.presentBeside[0][1];
    const float* const hasZBefore = rows.presentBeside[1][0];
    const float* const hasZAfter = rows.presentBeside[1][1];
    for (int x = 0; x < n; ++x) {
      const float by = r[x] * across(a, x) + m[x] * across(b, x) + across(k, x);
      const float derivative = counting[x] != 0.0f ? by : 0.0f;
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
