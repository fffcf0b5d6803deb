#include "foundation/numbers/elementary.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numbers>
#include <utility>

#include "foundation/numbers/largeAngle.h"
#include "foundation/numbers/twofold.h"

namespace voxreg::detail {
namespace {

constexpr Twofold pi = {0x1.921fb54442d18p+1, 0x1.1a62633145c07p-53};

// pi/2 = a + b + c, where a and b have 33 bits so that their products with integers below 2^20 are
// exact (Cody and Waite, Software Manual for the Elementary Functions, 1980).
inline Twofold restOfAngle(double x, double turns) {
  const double rest = x - turns * 0x1.921fb544p+0;
  const Twofold finer = sumOf(rest, -turns * 0x1.0b4611a6p-34);
  return sumOfOrdered(finer.high, finer.low - turns * 0x1.3198a2e037073p-69);
}

ReducedAngle reduceAngle(double x) {
  if (std::fabs(x) > 1.0e6) return reduceLargeAngle(x);
  const double turns = std::floor(x * (2.0 / std::numbers::pi) + 0.5);
  return {restOfAngle(x, turns), static_cast<int>(turns) & 3};
}

template <std::size_t n, std::size_t... k>
double polynomial(const double (&c)[n], double z, std::index_sequence<k...> /*steps*/) {
  double sum = c[n - 1];
  ((sum = c[n - 2 - k] + z * sum), ...);
  return sum;
}

/// c[0] + z * (c[1] + z * (c[2] + ...)) without a loop, which would keep compilers from vectorising
/// over several values.
template <std::size_t n>
double polynomial(const double (&c)[n], double z) {
  return polynomial(c, z, std::make_index_sequence<n - 1>());
}

/// The Taylor series up to x^17. The low part of x adds its product with cos x.
inline double sineNearZero(const Twofold& x) {
  constexpr double terms[] = {
      -1.0 / 6.0,        1.0 / 120.0,        -1.0 / 5040.0,          1.0 / 362880.0,
      -1.0 / 39916800.0, 1.0 / 6227020800.0, -1.0 / 1307674368000.0, 1.0 / 355687428096000.0};
  const double z = x.high * x.high;
  return x.high + (x.high * z * polynomial(terms, z) + x.low * (1.0 - 0.5 * z));
}

/// The Taylor series up to x^16. The low part of x subtracts its product with sin x.
inline double cosineNearZero(const Twofold& x) {
  constexpr double terms[] = {
      1.0 / 24.0,        -1.0 / 720.0,         1.0 / 40320.0,         -1.0 / 3628800.0,
      1.0 / 479001600.0, -1.0 / 87178291200.0, 1.0 / 20922789888000.0};
  const double z = x.high * x.high;
  const double half = 0.5 * z;
  const Twofold start = sumOfOrdered(1.0, -half);
  return start.high + (start.low + (z * z * polynomial(terms, z) - x.high * x.low));
}

/// Sine of an angle plus a number of quarter turns.
double sineFrom(double x, int quarters) {
  if (!std::isfinite(x)) return std::numeric_limits<double>::quiet_NaN();
  const ReducedAngle angle = reduceAngle(x);
  const int quarter = (angle.quarter + quarters) & 3;
  const double size = (quarter & 1) != 0 ? cosineNearZero(angle.rest) : sineNearZero(angle.rest);
  return (quarter & 2) != 0 ? -size : size;
}

/// Arc tangent of y / x for finite 0 <= y <= x, x > 0, by the nearest multiple c of 1/8:
/// atan t = atan c + atan u, u = (t - c) / (1 + t c).
Twofold arcTangentOfRatio(double y, double x) {
  constexpr Twofold atEighths[] = {{0.0, 0.0},
                                   {0x1.fd5ba9aac2f6ep-4, -0x1.cd37686760c17p-59},
                                   {0x1.f5b75f92c80ddp-3, 0x1.8ab6e3cf7afbdp-57},
                                   {0x1.6f61941e4def1p-2, -0x1.c63aae6f6e918p-56},
                                   {0x1.dac670561bb4fp-2, 0x1.a2b7f222f65e2p-56},
                                   {0x1.1e00babdefeb4p-1, -0x1.928df287a668fp-58},
                                   {0x1.4978fa3269ee1p-1, 0x1.2419a87f2a458p-56},
                                   {0x1.700a7c5784634p-1, -0x1.8c34d25aadef6p-56},
                                   {0x1.921fb54442d18p-1, 0x1.1a62633145c07p-55}};
  constexpr double terms[] = {-1.0 / 3.0,  1.0 / 5.0,  -1.0 / 7.0, 1.0 / 9.0,
                              -1.0 / 11.0, 1.0 / 13.0, -1.0 / 15.0};
  const double eighths = std::floor(8.0 * (y / x) + 0.5);
  const double c = eighths / 8.0;
  const Twofold u = (Twofold{y, 0.0} + productOf(-c, x)) / (Twofold{x, 0.0} + productOf(c, y));
  const double z = u.high * u.high;
  const Twofold& start = atEighths[static_cast<int>(eighths)];
  const Twofold sum = sumOf(start.high, u.high);
  return sumOfOrdered(sum.high,
                      sum.low + (start.low + (u.low + u.high * z * polynomial(terms, z))));
}

constexpr double smallestNormal = std::numeric_limits<double>::min();

/// x = 2^exponent * (1 + f), f from sqrt(1/2) - 1 to sqrt(2) - 1.
struct Mantissa {
  double f;
  double exponent;
};

// For a normal number above 0, without branches or conversions of integers, so that compilers can
// vectorise over several numbers.
inline Mantissa mantissaOf(double x) {
  constexpr std::uint64_t one = 0x3ff0000000000000;
  constexpr std::uint64_t rootOfHalf = 0x3fe6a09e667f3bcd;
  constexpr std::uint64_t fractionBits = 0x000fffffffffffff;
  const std::uint64_t bits = std::bit_cast<std::uint64_t>(x) + (one - rootOfHalf);
  const double biased = std::bit_cast<double>((bits >> 52) | 0x4330000000000000) - 0x1p52;
  const double m = std::bit_cast<double>((bits & fractionBits) + rootOfHalf);
  return {m - 1.0, biased - 1023.0};
}

// ln 2, its first part with 33 bits so that its products with exponents are exact.
constexpr double ln2 = 0x1.62e42fefp-1;
constexpr double ln2Rest = 0x1.473de6af278edp-34;

/// With s = f / (2 + f), log(1 + f) = 2 artanh s = f - (f^2/2 - s (f^2/2 + R)), where
/// R = 2 s^2 (1/3 + s^2/5 + s^4/7 + ...); f is exact, and what is added to it is small.
inline double logarithmOf(const Mantissa& m) {
  constexpr double terms[] = {2.0 / 3.0,  2.0 / 5.0,  2.0 / 7.0,  2.0 / 9.0,  2.0 / 11.0,
                              2.0 / 13.0, 2.0 / 15.0, 2.0 / 17.0, 2.0 / 19.0, 2.0 / 21.0};
  const double s = m.f / (2.0 + m.f);
  const double z = s * s;
  const double half = 0.5 * m.f * m.f;
  const double rest = s * (half + z * polynomial(terms, z)) + m.exponent * ln2Rest;
  return m.exponent * ln2 - ((half - rest) - m.f);
}

Mantissa mantissaOfAny(double x) {
  if (x >= smallestNormal) return mantissaOf(x);
  const Mantissa m = mantissaOf(x * 0x1p54);
  return {m.f, m.exponent - 54.0};
}

/// log x with the same series, to about 100 bits.
Twofold twofoldLogarithm(double x) {
  constexpr int numTerms = 20;
  const Mantissa m = mantissaOfAny(x);
  const Twofold s = Twofold{m.f, 0.0} / sumOf(2.0, m.f);
  const Twofold z = s * s;
  Twofold sum = {0.0, 0.0};
  for (int k = numTerms - 1; k >= 0; --k)
    sum = sum * z + Twofold{2.0, 0.0} / Twofold{2.0 * k + 1.0, 0.0};
  const Twofold exponent = Twofold{m.exponent * ln2, 0.0} + productOf(m.exponent, ln2Rest);
  return exponent + sum * s;
}

/// The series of exp r after extracting integer powers of 2.
double exponential(const Twofold& x) {
  constexpr int numTerms = 24;
  if (!(std::fabs(x.high) < 800.0)) return x.high > 0.0 ? HUGE_VAL : 0.0;
  const double powers = std::floor(x.high * std::numbers::log2e + 0.5);
  const Twofold r = (x + Twofold{-powers * ln2, 0.0}) + productOf(-powers, ln2Rest);
  Twofold sum = {1.0, 0.0};
  for (int k = numTerms; k >= 1; --k)
    sum = Twofold{1.0, 0.0} + sum * r / Twofold{static_cast<double>(k), 0.0};
  return std::ldexp(sum.high, static_cast<int>(powers));
}

}  // namespace

double sine(double x) {
  return x == 0.0 ? x : sineFrom(x, 0);
}

double cosine(double x) {
  return sineFrom(x, 1);
}

void takeSinesAndCosines(const double* angles, int count, double* sines, double* cosines) {
  for (int i = 0; i < count; ++i) {
    const double turns = angles[i] * (2.0 / std::numbers::pi) + 0.5 >= 1.0 ? 1.0 : 0.0;
    const Twofold rest = restOfAngle(angles[i], turns);
    const double s = sineNearZero(rest);
    const double c = cosineNearZero(rest);
    sines[i] = turns > 0.0 ? c : s;
    cosines[i] = turns > 0.0 ? -s : c;
  }
}

double arcTangent(double y, double x) {
  const double a = std::fabs(y);
  const double b = std::fabs(x);
  const double larger = std::max(a, b);
  // Multiples of pi/4, signed zeros and NaN, which every library gets exactly.
  if (a == 0.0 || b == 0.0 || !std::isfinite(a) || !std::isfinite(b)) return std::atan2(y, x);
  if (a < x * 0x1p-60) return y / x;
  int exponent = 0;
  std::frexp(larger, &exponent);
  const double height = std::scalbn(a, -exponent);
  const double width = std::scalbn(b, -exponent);
  Twofold angle = arcTangentOfRatio(std::min(height, width), std::max(height, width));
  if (a > b) angle = Twofold{pi.high / 2.0, pi.low / 2.0} - angle;
  if (x < 0.0) angle = pi - angle;
  return std::copysign(angle.high, y);
}

double logarithm(double x) {
  // 0, infinity, NaN and numbers without a logarithm.
  if (!(x > 0.0) || !std::isfinite(x)) return std::log(x);
  return logarithmOf(mantissaOfAny(x));
}

void takeLogarithms(double* values, int count) {
  if (std::any_of(values, values + count, [](double v) { return v < smallestNormal; }))
    for (int i = 0; i < count; ++i) values[i] = logarithmOf(mantissaOfAny(values[i]));
  else
    for (int i = 0; i < count; ++i) values[i] = logarithmOf(mantissaOf(values[i]));
}

double power(double base, double exponent) {
  if (!(base > 0.0) || !std::isfinite(base) || !std::isfinite(exponent))
    return std::pow(base, exponent);
  // Outside this range every power of a base other than 1 is 0 or infinite, and products are not
  // exact.
  exponent = std::clamp(exponent, -0x1p64, 0x1p64);
  return exponential(twofoldLogarithm(base) * Twofold{exponent, 0.0});
}

}  // namespace voxreg::detail
