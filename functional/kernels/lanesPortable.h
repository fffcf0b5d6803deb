#pragma once

#include <cstring>
#include <type_traits>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace voxreg::detail::portable {

/// Two rows side by side, in the vector extension that GCC and Clang share: SSE2 on x86-64, NEON on
/// AArch64, plain doubles elsewhere. Every operation is the scalar one per lane, so that results do
/// not depend on the number of lanes.
struct Lanes {
  static constexpr int width = 2;
  using Doubles = double __attribute__((vector_size(16)));
  using Cells = int __attribute__((vector_size(8)));

  static Doubles all(double value) { return Doubles{value, value}; }
  static Doubles load(const double* p) {
    Doubles v;
    std::memcpy(&v, p, sizeof v);
    return v;
  }
  static void store(double* p, Doubles v) { std::memcpy(p, &v, sizeof v); }

  /// Limits to [lower, upper]; NaN becomes `lower`.
  static Doubles limit(Doubles v, Doubles lower, Doubles upper) {
    v = v > lower ? v : lower;
    return v < upper ? v : upper;
  }
  static Doubles smaller(Doubles a, Doubles b) { return a < b ? a : b; }
  static Cells truncate(Doubles v) { return __builtin_convertvector(v, Cells); }
  static Doubles toDoubles(Cells c) { return __builtin_convertvector(c, Doubles); }

  /// Bit r is set where lane r lies in [lower, upper]; NaN lies nowhere.
  static unsigned inside(Doubles v, Doubles lower, Doubles upper) {
    const auto in = (v >= lower) & (v <= upper);
    return static_cast<unsigned>(in[0] & 1) | static_cast<unsigned>(in[1] & 2);
  }

  /// The cells as integers, one per lane.
  static void spread(Cells c, long out[width]) {
    unsigned long both;
    std::memcpy(&both, &c, sizeof both);
    out[0] = static_cast<long>(both & 0xffffffffu);
    out[1] = static_cast<long>(both >> 32);
  }

  /// The voxels at `p[lane] + offset`, widened.
  template <class U>
  static Doubles voxels(const U* const p[width], long offset) {
    if constexpr (std::is_integral_v<U>)
      return integers(static_cast<int>(p[0][offset]), static_cast<int>(p[1][offset]));
    else
      return Doubles{static_cast<double>(p[0][offset]), static_cast<double>(p[1][offset])};
  }

 private:
  static Doubles integers(int first, int second) {
#if defined(__SSE2__)
    // Both through one register: GCC converts a vector built of two integers one by one.
    const unsigned long both = static_cast<unsigned>(first) |
                               static_cast<unsigned long>(static_cast<unsigned>(second)) << 32;
    return _mm_cvtepi32_pd(_mm_cvtsi64_si128(static_cast<long long>(both)));
#else
    return toDoubles(Cells{first, second});
#endif
  }
};

}  // namespace voxreg::detail::portable
