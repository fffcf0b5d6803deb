#include "foundation/numbers/largeAngle.h"

#include <cmath>
#include <cstdint>

namespace voxreg::detail {
namespace {

// The fraction bits of 2/pi in digits of 32 bits, after three zeros.
constexpr std::uint32_t twoOverPi[] = {
    0,          0,          0,          0xa2f9836e, 0x4e441529, 0xfc2757d1, 0xf534ddc0, 0xdb629599,
    0x3c439041, 0xfe5163ab, 0xdebbc561, 0xb7246e3a, 0x424dd2e0, 0x06492eea, 0x09d1921c, 0xfe1deb1c,
    0xb129a73e, 0xe88235f5, 0x2ebb4484, 0xe99c7026, 0xb45f7e41, 0x3991d639, 0x835339f4, 0x9c845f8b,
    0xbdf9283b, 0x1ff897ff, 0xde05980f, 0xef2f118b, 0x5a0a6d1f, 0x6d367ecf, 0x27cb09b7, 0x4f463f66,
    0x9e5fea2d, 0x7527bac7, 0xebe5f17b, 0x3d0739f7, 0x8a5292ea, 0x6bfb5fb1, 0x1f8d5d08, 0x56033046};

constexpr Twofold halfPi = {0x1.921fb54442d18p+0, 0x1.1a62633145c07p-54};

/// A number of quarter turns in digits of 32 bits: the last one before the binary point, and seven
/// after it. Higher digits are whole turns.
struct Quarters {
  std::uint32_t digit[8] = {};

  /// Adds factor * 2^(32 * place) * 2/pi, without the part after the last digit.
  void addProduct(std::uint32_t factor, int place, int last) {
    std::uint64_t carry = 0;
    for (int k = last; k >= 0; --k) {
      const std::uint64_t sum = std::uint64_t(factor) * twoOverPi[k + place] + digit[k] + carry;
      digit[k] = static_cast<std::uint32_t>(sum);
      carry = sum >> 32;
    }
  }

  /// The part after the binary point, which is below 1.
  Twofold fraction() const {
    Twofold sum = {0.0, 0.0};
    for (int k = 7; k > 0; --k)
      sum = Twofold{std::ldexp(static_cast<double>(digit[k]), -32 * k), 0.0} + sum;
    return sum;
  }
};

}  // namespace

// Multiplies x = m 2^e by the part of 2/pi that determines its quarter turns modulo 4 and some 160
// bits after the point (Payne and Hanek, ACM SIGNUM Newsletter 18, 1983). No double is closer to a
// multiple of pi/2 than about 2^-61.
ReducedAngle reduceLargeAngle(double x) {
  int exponent = 0;
  const double fraction = std::frexp(std::fabs(x), &exponent);
  const auto m = static_cast<std::uint64_t>(std::ldexp(fraction, 53));
  const int position = exponent - 53 + 64;
  const int place = position / 32;
  const int shift = position % 32;
  const std::uint64_t low = m << shift;
  const std::uint64_t high = shift > 0 ? m >> (64 - shift) : 0;
  Quarters quarters;
  quarters.addProduct(static_cast<std::uint32_t>(low), place, 7);
  quarters.addProduct(static_cast<std::uint32_t>(low >> 32), place + 1, 6);
  quarters.addProduct(static_cast<std::uint32_t>(high), place + 2, 5);
  int quarter = static_cast<int>(quarters.digit[0] & 3);
  bool isNegative = x < 0.0;
  if (quarters.digit[1] >> 31 != 0) {
    // The remainder is negative, counted from the next quarter.
    for (std::uint32_t& digit : quarters.digit) digit = ~digit;
    isNegative = !isNegative;
    ++quarter;
  }
  const Twofold rest = quarters.fraction() * halfPi;
  return {isNegative ? Twofold{-rest.high, -rest.low} : rest, (x < 0.0 ? -quarter : quarter) & 3};
}

}  // namespace voxreg::detail
