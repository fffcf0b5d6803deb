#pragma once

#include <cstdint>
#include <cstring>
#include <type_traits>

#if defined(__SSE2__) && defined(__x86_64__)
#include <emmintrin.h>
#endif

namespace voxreg::detail::portable {

/// Two lanes, in the vector extension that GCC and Clang share: SSE2 on x86-64, NEON on AArch64,
/// plain doubles elsewhere. Every operation is the scalar one per lane, so results do not depend on
/// the number of lanes.
struct Lanes {
  static constexpr int width = 2;
  using Doubles = double __attribute__((vector_size(16)));
  using Mask = decltype(Doubles() < Doubles());

  /// Must be called last.
  static void leave() {}

  static Doubles all(double value) { return Doubles{value, value}; }
  static Doubles load(const double* p) {
    Doubles v;
    std::memcpy(&v, p, sizeof v);
    return v;
  }
  static void store(double* p, Doubles v) { std::memcpy(p, &v, sizeof v); }

  /// The larger or smaller value; `b` if one of them is NaN.
  static Doubles larger(Doubles a, Doubles b) { return a > b ? a : b; }
  static Doubles smaller(Doubles a, Doubles b) { return a < b ? a : b; }

  /// Rounds towards zero, within the range of int.
  static Doubles whole(Doubles v) {
    return __builtin_convertvector(__builtin_convertvector(v, Ints), Doubles);
  }
  /// Stores integral values as integers, which the sum with 1.5 * 2^52 holds in its low bits.
  static void storeWhole(std::int64_t* p, Doubles v) {
    const Doubles shift = all(0x1.8p52);
    const Mask integers = reinterpret_cast<Mask>(v + shift) - reinterpret_cast<Mask>(shift);
    std::memcpy(p, &integers, sizeof integers);
  }
  /// Stores values rounded to floats, or integral ones as integers.
  template <class Narrow>
  static void storeNarrow(Narrow* p, Doubles v) {
    for (int i = 0; i < width; ++i) p[i] = static_cast<Narrow>(v[i]);
  }

  /// Mask of the lanes in [lower, upper]; false for NaN.
  static Mask within(Doubles v, Doubles lower, Doubles upper) {
    return (v >= lower) & (v <= upper);
  }
  static Mask both(Mask a, Mask b) { return a & b; }
  static bool any(Mask mask) { return (mask[0] | mask[1]) != 0; }

  /// `v` in the lanes of the mask and `other` in the rest.
  static Doubles select(Mask mask, Doubles v, Doubles other) { return mask ? v : other; }

  /// The voxels starting at `lane`, widened.
  template <class U>
  static Doubles widen(const U* voxels) {
    if constexpr (std::is_integral_v<U>)
      return integers(static_cast<int>(voxels[0]), static_cast<int>(voxels[1]));
    else
      return Doubles{static_cast<double>(voxels[0]), static_cast<double>(voxels[1])};
  }

  /// The two voxels starting at 2 * lane, widened.
  template <class U>
  static void widenPairs(const U* pairs, Doubles& first, Doubles& second) {
    if constexpr (std::is_integral_v<U>) {
      first = integers(static_cast<int>(pairs[0]), static_cast<int>(pairs[2]));
      second = integers(static_cast<int>(pairs[1]), static_cast<int>(pairs[3]));
    } else {
      first = Doubles{static_cast<double>(pairs[0]), static_cast<double>(pairs[2])};
      second = Doubles{static_cast<double>(pairs[1]), static_cast<double>(pairs[3])};
    }
  }

 private:
  using Ints = int __attribute__((vector_size(8)));

  static Doubles integers(int first, int second) {
#if defined(__SSE2__) && defined(__x86_64__)
    // Both in one register, since GCC converts a vector of two integers element by element.
    const std::uint64_t both = static_cast<unsigned>(first) |
                               static_cast<std::uint64_t>(static_cast<unsigned>(second)) << 32;
    return _mm_cvtepi32_pd(_mm_cvtsi64_si128(static_cast<long long>(both)));
#else
    return __builtin_convertvector(Ints{first, second}, Doubles);
#endif
  }
};

}  // namespace voxreg::detail::portable
