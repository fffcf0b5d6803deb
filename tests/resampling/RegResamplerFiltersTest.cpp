#include "resampling/RegResamplerFilters.h"

#include <gtest/gtest.h>

#include <limits>

#include "tests/resampling/filterTable.h"

namespace {

TEST(Filters, AreTheirFormulasWithinSinglePrecisionAndEndWithTheirSupport) {
  for (const FilterRow& row : filterTable) {
    for (int i = -2200; i <= 2200; ++i) {
      const float x = static_cast<float>(i) / 100.0f;
      const double exact = row.exact(std::fabs(static_cast<double>(x)));
      EXPECT_NEAR(row.kernel(x), exact, 2e-6) << row.type << " at " << x;
    }
    const auto end = static_cast<float>(row.support);
    EXPECT_EQ(row.kernel(end), row.type == RegResampler::Box ? 1.0f : 0.0f) << row.type;
    const float infinity = std::numeric_limits<float>::infinity();
    for (const float beyond : {-std::nextafter(end, 100.0f), infinity, std::nanf("")})
      EXPECT_EQ(row.kernel(beyond), 0.0f) << row.type;
  }
}

// Polynomials in double precision over single-precision powers, rounded once; other forms differ in
// the last bit somewhere.
TEST(Filters, RoundAsTheyAreDefined) {
  for (float t = 0.02f; t < 1.0f; t += 0.02f) {
    const float u = 1.0f + t, rest = 2.0f - u;
    const float t2 = t * t, t3 = t2 * t, u2 = u * u, u3 = u2 * u;
    EXPECT_EQ(B_spline_filter(t), static_cast<float>(0.5 * t3 - t2 + 0.6666666666666666));
    EXPECT_EQ(B_spline_filter(u), static_cast<float>(rest * rest * rest * 0.16666666666666666));
    EXPECT_EQ(Mitchell_filter(t),
              static_cast<float>(7.0 * t3 - 12.0 * t2 + 5.333333333333333) / 6.0f);
    EXPECT_EQ(Mitchell_filter(-u), static_cast<float>(-2.3333333333333335 * u3 + 12.0 * u2 -
                                                      20.0 * u + 10.666666666666666) /
                                       6.0f);
    EXPECT_EQ(cubic6_filter(u), static_cast<float>(-0.6 * u3 + 3.2 * u2 - 5.4 * u + 2.8));
  }
}

}  // namespace
