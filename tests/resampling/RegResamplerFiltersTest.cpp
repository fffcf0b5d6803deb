#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "resampling/RegResamplerFilters.h"
#include "resampling/contribLists.h"
#include "tests/resampling/filterTable.h"
#include "tests/support/LogCapture.h"

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
    for (const float beyond : {-std::nextafter(end, 100.0f), INFINITY, std::nanf("")})
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

using voxreg::detail::ContribLists;

int calls = 0;
float countingTriangle(float x) {
  ++calls;
  return triangle_filter(x);
}
float signOf(float x) {
  return x > 0.0f ? 1.0f : -1.0f;
}

TEST(FilterContrib, WeighsWhatLiesUnderTheFilter) {
  const ContribLists balanced(RegResampler().filter_contrib(2, 4, 0.5f, signOf, 0.5f), 2);
  EXPECT_EQ(balanced[0].taps[0].weight, 0.5f);
  EXPECT_EQ(balanced[0].taps[1].weight, -0.5f);
  // A shift of one output voxel; a position beyond the axis has nothing.
  RegResampler resampler{.filterShift = 1.0f};
  const ContribLists shifted(resampler.filter_contrib(2, 4, 0.5f, box_filter, 0.5f), 2);
  EXPECT_EQ(shifted[0].n, 2);
  EXPECT_EQ(shifted[0].taps[0].pixel, 2);
  EXPECT_EQ(shifted[1].n, 0);
}

TEST(FilterContrib, SurvivesAnyArguments) {
  for (const float scale : {NAN, INFINITY, -INFINITY, 0.0f, -1.0f, 1e-30f, 1e30f})
    for (const float support : {NAN, INFINITY, 0.0f, -1.0f, 3.0f}) {
      const ContribLists lists(RegResampler().filter_contrib(2, 3, scale, box_filter, support), 2);
      for (int i = 0; i < 2; ++i) EXPECT_TRUE(lists[i].n >= 0 && lists[i].n <= 3);
    }
  for (const int count : {0, -1, std::numeric_limits<int>::min()}) {
    ContribLists(RegResampler().filter_contrib(2, count, 0.5f, box_filter, 0.5f), 2);
    ContribLists(RegResampler().filter_contrib(count, 3, 0.5f, box_filter, 0.5f), count);
  }
  LogCapture log;
  EXPECT_EQ(RegResampler().filter_contrib(2, 3, 0.5f, nullptr, 0.5f), nullptr);
  EXPECT_EQ(log.errors.size(), 1u);
  // A support without bounds comes to an end, and reaches every voxel.
  calls = 0;
  const ContribLists endless(RegResampler().filter_contrib(1, 3, 1.0f, countingTriangle, INFINITY),
                             1);
  EXPECT_EQ(endless[0].n, 3);
  EXPECT_LT(calls, 1000000);
}

TEST(Zoom1d, InterpolatesLinearly) {
  const float in[] = {10.0f, 20.0f, 40.0f};
  float out[6];
  RegResampler().zoom1d(6, 6.0f, out, 3, in);
  const float expected[] = {10.0f, 12.5f, 17.5f, 25.0f, 35.0f, 40.0f};
  for (int i = 0; i < 6; ++i) EXPECT_FLOAT_EQ(out[i], expected[i]) << i;
  RegResampler().zoom1d(1, 1.0f, out, 0, in);
  EXPECT_EQ(out[0], 0.0f);
}

}  // namespace
