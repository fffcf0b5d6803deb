#pragma once

/// Numbers of twice the precision, as the unevaluated sum of two doubles (Dekker, Numerische
/// Mathematik 18, 1971). To be included only by sources, since rounding matters here.
namespace voxreg::detail {

struct Twofold {
  double high;
  double low;  ///< at most half a unit in the last place of `high`
};

/// a + b, where a is the larger one in magnitude or 0.
inline Twofold sumOfOrdered(double a, double b) {
  const double sum = a + b;
  return {sum, b - (sum - a)};
}

/// a + b.
inline Twofold sumOf(double a, double b) {
  const double sum = a + b;
  const double partOfB = sum - a;
  return {sum, (a - (sum - partOfB)) + (b - partOfB)};
}

/// a * b, each below 2^996.
inline Twofold productOf(double a, double b) {
  const auto upperHalf = [](double v) {
    const double scaled = v * 0x1.0000002p27;
    return scaled - (scaled - v);
  };
  const double a1 = upperHalf(a);
  const double b1 = upperHalf(b);
  const double a2 = a - a1;
  const double b2 = b - b1;
  const double product = a * b;
  return {product, ((a1 * b1 - product) + a1 * b2 + a2 * b1) + a2 * b2};
}

inline Twofold operator+(const Twofold& a, const Twofold& b) {
  const Twofold sum = sumOf(a.high, b.high);
  return sumOfOrdered(sum.high, sum.low + (a.low + b.low));
}

inline Twofold operator-(const Twofold& a, const Twofold& b) {
  return a + Twofold{-b.high, -b.low};
}

inline Twofold operator*(const Twofold& a, const Twofold& b) {
  const Twofold product = productOf(a.high, b.high);
  return sumOfOrdered(product.high, product.low + (a.high * b.low + a.low * b.high));
}

inline Twofold operator/(const Twofold& a, const Twofold& b) {
  const double quotient = a.high / b.high;
  const Twofold back = productOf(quotient, b.high);
  const double rest = ((a.high - back.high) - back.low) + (a.low - quotient * b.low);
  return sumOfOrdered(quotient, rest / b.high);
}

}  // namespace voxreg::detail
