#pragma once

#include <immintrin.h>

namespace voxreg::detail::avx512 {

/// Sixteen floats.
struct FloatLanes {
  static constexpr int width = 16;
  using Floats = float __attribute__((vector_size(64)));
  using Ints = int __attribute__((vector_size(64)));

  /// Must be called last: GCC 12 does not always clear the upper halves of the registers, and what
  /// remains there slows down all later SSE code.
  static void leave() { _mm256_zeroupper(); }

  /// Whether a lane is not 0.
  static bool any(Ints lanes) {
    return _mm512_test_epi32_mask(reinterpret_cast<__m512i>(lanes),
                                  reinterpret_cast<__m512i>(lanes)) != 0;
  }

  /// The values at some indices, and those after them: a gather of pairs reads half as often.
  [[gnu::always_inline]] static void gatherPairs(const float* base, Ints index, Floats& first,
                                                 Floats& second) {
    const auto indices = reinterpret_cast<__m512i>(index);
    const __m512 low =
        _mm512_castpd_ps(_mm512_i32gather_pd(_mm512_castsi512_si256(indices), base, 4));
    const __m512 high =
        _mm512_castpd_ps(_mm512_i32gather_pd(_mm512_extracti64x4_epi64(indices, 1), base, 4));
    const __m512i even =
        _mm512_setr_epi32(0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22, 24, 26, 28, 30);
    first = _mm512_permutex2var_ps(low, even, high);
    second = _mm512_permutex2var_ps(low, _mm512_add_epi32(even, _mm512_set1_epi32(1)), high);
  }
};

}  // namespace voxreg::detail::avx512
