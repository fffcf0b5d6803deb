#pragma once

#include <immintrin.h>

namespace voxreg::detail::avx2 {

/// Eight floats.
struct FloatLanes {
  static constexpr int width = 8;
  using Floats = float __attribute__((vector_size(32)));
  using Ints = int __attribute__((vector_size(32)));

  /// Must be called last: GCC 12 does not always clear the upper halves of the registers, and what
  /// remains there slows down all later SSE code.
  static void leave() { _mm256_zeroupper(); }

  /// Whether a lane is not 0.
  static bool any(Ints lanes) {
    return _mm256_testz_si256(reinterpret_cast<__m256i>(lanes), reinterpret_cast<__m256i>(lanes)) ==
           0;
  }

  /// The values at some indices, and those after them: a gather of pairs reads half as often.
  [[gnu::always_inline]] static void gatherPairs(const float* base, Ints index, Floats& first,
                                                 Floats& second) {
    const auto indices = reinterpret_cast<__m256i>(index);
    const __m256 low = gather(base, _mm256_castsi256_si128(indices));
    const __m256 high = gather(base, _mm256_extracti128_si256(indices, 1));
    first = inOrder(_mm256_shuffle_ps(low, high, 0x88));
    second = inOrder(_mm256_shuffle_ps(low, high, 0xdd));
  }

 private:
  /// Pairs as doubles; masked, since GCC 12 warns of what the other form leaves undefined.
  static __m256 gather(const float* base, __m128i indices) {
    const __m256d none = _mm256_setzero_pd();
    return _mm256_castpd_ps(_mm256_mask_i32gather_pd(none, reinterpret_cast<const double*>(base),
                                                     indices, _mm256_cmp_pd(none, none, _CMP_EQ_OQ),
                                                     4));
  }

  static __m256 inOrder(__m256 v) {
    return _mm256_castpd_ps(_mm256_permute4x64_pd(_mm256_castps_pd(v), 0xd8));
  }
};

}  // namespace voxreg::detail::avx2
