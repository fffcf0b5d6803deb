#include "foundation/numbers/elementary.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <numbers>
#include <random>

namespace {

using namespace voxreg::detail;

constexpr double infinity = std::numeric_limits<double>::infinity();

/// The distance from the exact value, in units of that value's last place.
double errorOf(double found, long double exact) {
  const double size = std::fabs(static_cast<double>(exact));
  return static_cast<double>(std::fabs(found - exact) / (std::nextafter(size, infinity) - size));
}

/// Compares with the C library's long double over arguments from `draw`.
template <class Draw, class F, class Reference>
void expectWithin(double limit, Draw draw, F f, Reference reference) {
  if (std::numeric_limits<long double>::digits < 64) GTEST_SKIP() << "no wider type to compare";
  std::mt19937_64 random(5);
  std::uniform_real_distribution<double> unit(-1.0, 1.0);
  double worst = 0.0;
  for (int i = 0; i < 200000; ++i) {
    const double x = draw(unit(random));
    worst = std::max(worst, errorOf(f(x), reference(static_cast<long double>(x))));
  }
  EXPECT_LT(worst, limit);
}

TEST(Elementary, SineAndCosineAreExactToTheLastPlace) {
  const auto exactSine = [](long double x) { return std::sin(x); };
  const auto exactCosine = [](long double x) { return std::cos(x); };
  for (const double range :
       {1.0e-3, 1.0, 7.0, 500.0, 9.9e5, 1.1e6, 1.0e9, 1.0e18, 1.0e150, 1.7e308}) {
    const auto draw = [range](double u) { return u * range; };
    expectWithin(0.9, draw, sine, exactSine);
    expectWithin(0.9, draw, cosine, exactCosine);
  }
  EXPECT_EQ(sine(1.0e-300), 1.0e-300);
  EXPECT_TRUE(std::signbit(sine(-0.0)));
  EXPECT_EQ(cosine(0.0), 1.0);
  for (const double bad : {infinity, -infinity, std::nan("")}) {
    EXPECT_TRUE(std::isnan(sine(bad)));
    EXPECT_TRUE(std::isnan(cosine(bad)));
  }
  // Of all doubles the one nearest to a multiple of pi/2 (Muller, Elementary Functions, 1997).
  const auto nearest = [](double u) {
    return std::copysign(std::ldexp(6381956970095103.0, 797), u);
  };
  expectWithin(0.9, nearest, sine, exactSine);
  expectWithin(0.9, nearest, cosine, exactCosine);
  EXPECT_NEAR(cosine(nearest(1.0)), -4.68716592425462761112e-19, 1e-34);
}

TEST(Elementary, ManySinesAndCosinesHaveTheBitsOfSingleOnes) {
  constexpr int n = 1001;
  double angles[n];
  double sines[n];
  double cosines[n];
  for (int i = 0; i < n; ++i) angles[i] = std::numbers::pi / 2.0 * i / (n - 1);
  // Where the nearest quarter of a turn changes.
  for (int i = 0; i < 9; ++i) angles[500 - i] = std::numbers::pi / 4.0 + (i - 4) * 0x1p-53;
  takeSinesAndCosines(angles, n, sines, cosines);
  for (int i = 0; i < n; ++i) {
    EXPECT_EQ(std::bit_cast<long>(sines[i]), std::bit_cast<long>(sine(angles[i]))) << i;
    EXPECT_EQ(std::bit_cast<long>(cosines[i]), std::bit_cast<long>(cosine(angles[i]))) << i;
  }
}

TEST(Elementary, ArcTangentIsExactInAllQuadrants) {
  for (const double x : {1.7, -1.7, 1.0e-300, -3.0e300})
    expectWithin(
        0.9, [x](double u) { return std::copysign(std::exp2(40.0 * u), u) * std::fabs(x); },
        [x](double y) { return arcTangent(y, x); },
        [x](long double y) { return std::atan2(y, static_cast<long double>(x)); });
  const double special[] = {0.0, -0.0, 1.0, -1.0, 5.0e-324, infinity, -infinity, std::nan("")};
  for (const double y : special)
    for (const double x : special) {
      const double expected = std::atan2(y, x);
      const double found = arcTangent(y, x);
      EXPECT_TRUE(found == expected || (std::isnan(found) && std::isnan(expected)))
          << y << " " << x;
      EXPECT_EQ(std::signbit(found), std::signbit(expected)) << y << " " << x;
    }
}

TEST(Elementary, LogarithmIsExactToTheLastPlaceAloneAndAmongOthers) {
  const auto exact = [](long double x) { return std::log(x); };
  expectWithin(
      0.9, [](double u) { return std::exp2(1020.0 * u); }, logarithm, exact);
  expectWithin(
      0.9, [](double u) { return 1.0 + 0.4 * u; }, logarithm, exact);
  expectWithin(
      0.9, [](double u) { return 5.0e-324 + 1.0e-310 * std::fabs(u); }, logarithm, exact);
  EXPECT_EQ(logarithm(1.0), 0.0);
  EXPECT_EQ(logarithm(0.0), -infinity);
  EXPECT_EQ(logarithm(infinity), infinity);
  EXPECT_TRUE(std::isnan(logarithm(-1.0)));
  EXPECT_TRUE(std::isnan(logarithm(std::nan(""))));

  for (const double smallest : {0.25, 3.0e-320}) {
    double values[37], together[37];
    for (int i = 0; i < 37; ++i) values[i] = together[i] = smallest * std::exp2(i * 1.37);
    takeLogarithms(together, 37);
    for (int i = 0; i < 37; ++i) EXPECT_EQ(together[i], logarithm(values[i]));
  }
}

TEST(Elementary, PowerIsExact) {
  for (const double exponent : {0.3, -7.0, 1.0 / 3.0, 19.5})
    expectWithin(
        0.51, [](double u) { return std::exp2(40.0 * u); },
        [exponent](double x) { return power(x, exponent); },
        [exponent](long double x) { return std::pow(x, static_cast<long double>(exponent)); });
  double tens = 1.0;
  for (int n = 0; n <= 22; ++n, tens *= 10.0) EXPECT_EQ(power(10.0, n), tens);
  EXPECT_EQ(power(2.0, -1074.0), 5.0e-324);
  EXPECT_EQ(power(2.0, 1024.0), infinity);
  EXPECT_EQ(power(2.0, -1080.0), 0.0);
  for (const double huge : {0x1p64, 0x1p65, 0x1.8p996, std::numeric_limits<double>::max()}) {
    EXPECT_EQ(power(std::nextafter(1.0, 2.0), huge), infinity);
    EXPECT_EQ(power(std::nextafter(1.0, 0.0), huge), 0.0);
    EXPECT_EQ(power(0.5, -huge), infinity);
    EXPECT_EQ(power(7.0, -huge), 0.0);
    EXPECT_EQ(power(1.0, huge), 1.0);
    EXPECT_EQ(power(1.0, -huge), 1.0);
  }
  EXPECT_EQ(power(infinity, 2.0), infinity);
  EXPECT_EQ(power(0.0, -1.0), infinity);
}

}  // namespace
