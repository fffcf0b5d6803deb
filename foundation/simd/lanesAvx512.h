#pragma once

#include <immintrin.h>

#include <cstdint>
#include <type_traits>

namespace voxreg::detail::avx512 {

/// Eight lanes. Every operation is the scalar one per lane.
struct Lanes {
  static constexpr int width = 8;
  using Doubles = __m512d;
  using Mask = __mmask8;

  /// Must be called last: GCC 12 does not always clear the upper halves of the registers, and what
  /// remains there slows down all later SSE code.
  static void leave() { _mm256_zeroupper(); }

  static Doubles all(double value) { return _mm512_set1_pd(value); }
  static Doubles load(const double* p) { return _mm512_loadu_pd(p); }
  static void store(double* p, Doubles v) { _mm512_storeu_pd(p, v); }

  /// The larger or smaller value; `b` if one of them is NaN.
  static Doubles larger(Doubles a, Doubles b) { return _mm512_max_pd(a, b); }
  static Doubles smaller(Doubles a, Doubles b) { return _mm512_min_pd(a, b); }

  /// Rounds towards zero.
  static Doubles whole(Doubles v) {
    return _mm512_roundscale_pd(v, _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC);
  }
  /// Stores integral values as integers.
  static void storeWhole(std::int64_t* p, Doubles v) {
    _mm512_storeu_si512(p, _mm512_cvttpd_epi64(v));
  }
  /// Stores values rounded to floats, or integral ones as integers.
  static void storeNarrow(float* p, Doubles v) { _mm256_storeu_ps(p, _mm512_cvtpd_ps(v)); }
  static void storeNarrow(std::int32_t* p, Doubles v) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), _mm512_cvttpd_epi32(v));
  }

  /// Mask of the lanes in [lower, upper]; false for NaN.
  static Mask within(Doubles v, Doubles lower, Doubles upper) {
    return _mm512_mask_cmp_pd_mask(_mm512_cmp_pd_mask(v, lower, _CMP_GE_OQ), v, upper, _CMP_LE_OQ);
  }
  static Mask both(Mask a, Mask b) { return _kand_mask8(a, b); }
  static bool any(Mask mask) { return mask != 0; }

  /// `v` in the lanes of the mask and `other` in the rest.
  static Doubles select(Mask mask, Doubles v, Doubles other) {
    return _mm512_mask_blend_pd(mask, other, v);
  }

  /// The voxels starting at `lane`, widened.
  template <class U>
  static Doubles widen(const U* voxels) {
    if constexpr (std::is_same_v<U, double>)
      return load(voxels);
    else if constexpr (sizeof(U) == 4)
      return widen<U>(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(voxels)));
    else if constexpr (std::is_same_v<U, unsigned char>)
      return _mm512_cvtepi32_pd(
          _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(voxels))));
    else {
      const __m128i narrow = _mm_loadu_si128(reinterpret_cast<const __m128i*>(voxels));
      return _mm512_cvtepi32_pd(std::is_signed_v<U> ? _mm256_cvtepi16_epi32(narrow)
                                                    : _mm256_cvtepu16_epi32(narrow));
    }
  }

  /// The two voxels starting at 2 * lane, widened.
  template <class U>
  static void widenPairs(const U* pairs, Doubles& first, Doubles& second) {
    if constexpr (std::is_same_v<U, double>) {
      const __m512d low = _mm512_loadu_pd(pairs);
      const __m512d high = _mm512_loadu_pd(pairs + width);
      first = _mm512_permutex2var_pd(low, _mm512_setr_epi64(0, 2, 4, 6, 8, 10, 12, 14), high);
      second = _mm512_permutex2var_pd(low, _mm512_setr_epi64(1, 3, 5, 7, 9, 11, 13, 15), high);
    } else if constexpr (sizeof(U) == 4) {
      const __m512i both = _mm512_loadu_si512(pairs);
      first = widen<U>(_mm512_cvtepi64_epi32(both));
      second = widen<U>(_mm512_cvtepi64_epi32(_mm512_srli_epi64(both, 32)));
    } else if constexpr (std::is_same_v<U, unsigned char>) {
      const __m256i both =
          _mm256_cvtepu16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(pairs)));
      first = _mm512_cvtepi32_pd(_mm256_and_si256(both, _mm256_set1_epi32(0xff)));
      second = _mm512_cvtepi32_pd(_mm256_srli_epi32(both, 8));
    } else {
      const __m256i both = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(pairs));
      if constexpr (std::is_signed_v<U>) {
        first = _mm512_cvtepi32_pd(_mm256_srai_epi32(_mm256_slli_epi32(both, 16), 16));
        second = _mm512_cvtepi32_pd(_mm256_srai_epi32(both, 16));
      } else {
        first = _mm512_cvtepi32_pd(_mm256_and_si256(both, _mm256_set1_epi32(0xffff)));
        second = _mm512_cvtepi32_pd(_mm256_srli_epi32(both, 16));
      }
    }
  }

 private:
  template <class U>
  static Doubles widen(__m256i voxels) {
    if constexpr (std::is_integral_v<U>)
      return _mm512_cvtepi32_pd(voxels);
    else
      return _mm512_cvtps_pd(_mm256_castsi256_ps(voxels));
  }
};

}  // namespace voxreg::detail::avx512
