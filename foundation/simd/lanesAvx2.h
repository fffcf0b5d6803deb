#pragma once

#include <immintrin.h>

#include <cstdint>
#include <type_traits>

namespace voxreg::detail::avx2 {

/// Four lanes. Every operation is the scalar one per lane.
struct Lanes {
  static constexpr int width = 4;
  using Doubles = __m256d;
  using Mask = __m256d;

  /// Must be called last: GCC 12 does not always clear the upper halves of the registers, and what
  /// remains there slows down all later SSE code.
  static void leave() { _mm256_zeroupper(); }

  static Doubles all(double value) { return _mm256_set1_pd(value); }
  static Doubles load(const double* p) { return _mm256_loadu_pd(p); }
  static void store(double* p, Doubles v) { _mm256_storeu_pd(p, v); }

  /// The larger or smaller value; `b` if one of them is NaN.
  static Doubles larger(Doubles a, Doubles b) { return _mm256_max_pd(a, b); }
  static Doubles smaller(Doubles a, Doubles b) { return _mm256_min_pd(a, b); }

  /// Rounds towards zero.
  static Doubles whole(Doubles v) {
    return _mm256_round_pd(v, _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC);
  }
  /// Stores integral values as integers, which the sum with 1.5 * 2^52 holds in its low bits.
  static void storeWhole(std::int64_t* p, Doubles v) {
    const __m256d shift = _mm256_set1_pd(0x1.8p52);
    _mm256_storeu_si256(
        reinterpret_cast<__m256i*>(p),
        _mm256_sub_epi64(_mm256_castpd_si256(v + shift), _mm256_castpd_si256(shift)));
  }
  /// Stores values rounded to floats, or integral ones as integers.
  static void storeNarrow(float* p, Doubles v) { _mm_storeu_ps(p, _mm256_cvtpd_ps(v)); }
  static void storeNarrow(std::int32_t* p, Doubles v) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm256_cvttpd_epi32(v));
  }

  /// Mask of the lanes in [lower, upper]; false for NaN.
  static Mask within(Doubles v, Doubles lower, Doubles upper) {
    return both(_mm256_cmp_pd(v, lower, _CMP_GE_OQ), _mm256_cmp_pd(v, upper, _CMP_LE_OQ));
  }
  static Mask both(Mask a, Mask b) { return _mm256_and_pd(a, b); }
  static bool any(Mask mask) { return _mm256_movemask_pd(mask) != 0; }

  /// `v` in the lanes of the mask and `other` in the rest.
  static Doubles select(Mask mask, Doubles v, Doubles other) {
    return _mm256_blendv_pd(other, v, mask);
  }

  /// The voxels starting at `lane`, widened.
  template <class U>
  static Doubles widen(const U* voxels) {
    if constexpr (std::is_same_v<U, double>)
      return load(voxels);
    else if constexpr (sizeof(U) == 4)
      return widen<U>(_mm_loadu_si128(reinterpret_cast<const __m128i*>(voxels)));
    else if constexpr (std::is_same_v<U, unsigned char>)
      return _mm256_cvtepi32_pd(_mm_cvtepu8_epi32(_mm_loadu_si32(voxels)));
    else {
      const __m128i narrow = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(voxels));
      return _mm256_cvtepi32_pd(std::is_signed_v<U> ? _mm_cvtepi16_epi32(narrow)
                                                    : _mm_cvtepu16_epi32(narrow));
    }
  }

  /// The two voxels starting at 2 * lane, widened.
  template <class U>
  static void widenPairs(const U* pairs, Doubles& first, Doubles& second) {
    if constexpr (std::is_same_v<U, double>) {
      const __m256d low = _mm256_loadu_pd(pairs);
      const __m256d high = _mm256_loadu_pd(pairs + width);
      first = _mm256_permute4x64_pd(_mm256_unpacklo_pd(low, high), 0xd8);
      second = _mm256_permute4x64_pd(_mm256_unpackhi_pd(low, high), 0xd8);
    } else if constexpr (sizeof(U) == 4) {
      const __m256i apart =
          _mm256_permutevar8x32_epi32(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(pairs)),
                                      _mm256_setr_epi32(0, 2, 4, 6, 1, 3, 5, 7));
      first = widen<U>(_mm256_castsi256_si128(apart));
      second = widen<U>(_mm256_extracti128_si256(apart, 1));
    } else if constexpr (std::is_same_v<U, unsigned char>) {
      const __m128i both =
          _mm_cvtepu16_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(pairs)));
      first = _mm256_cvtepi32_pd(_mm_and_si128(both, _mm_set1_epi32(0xff)));
      second = _mm256_cvtepi32_pd(_mm_srli_epi32(both, 8));
    } else {
      const __m128i both = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pairs));
      if constexpr (std::is_signed_v<U>) {
        first = _mm256_cvtepi32_pd(_mm_srai_epi32(_mm_slli_epi32(both, 16), 16));
        second = _mm256_cvtepi32_pd(_mm_srai_epi32(both, 16));
      } else {
        first = _mm256_cvtepi32_pd(_mm_and_si128(both, _mm_set1_epi32(0xffff)));
        second = _mm256_cvtepi32_pd(_mm_srli_epi32(both, 16));
      }
    }
  }

 private:
  template <class U>
  static Doubles widen(__m128i voxels) {
    if constexpr (std::is_integral_v<U>)
      return _mm256_cvtepi32_pd(voxels);
    else
      return _mm256_cvtps_pd(_mm_castsi128_ps(voxels));
  }
};

}  // namespace voxreg::detail::avx2
