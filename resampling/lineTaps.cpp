#include "resampling/lineTaps.h"

#include <algorithm>
#include <cstdint>

namespace voxreg::detail {
namespace {

/// Adds `numTaps` lines to `out`, or to 0 instead, so that several are processed each time `out` is
/// written to memory.
template <int numTaps>
void addLines(const float* lines, std::int64_t width, const RegResamplerContrib* taps, bool toZero,
              float* __restrict out) {
  const float* line[numTaps];
  float weight[numTaps];
  for (int k = 0; k < numTaps; ++k) {
    line[k] = lines + taps[k].pixel * width;
    weight[k] = taps[k].weight;
  }
  const auto sum = [&](float start, std::int64_t x) {
    for (int k = 0; k < numTaps; ++k) start += line[k][x] * weight[k];
    return start;
  };
  if (toZero)
    for (std::int64_t x = 0; x < width; ++x) out[x] = sum(0.0f, x);
  else
    for (std::int64_t x = 0; x < width; ++x) out[x] = sum(out[x], x);
}

void combineLine(const float* lines, std::int64_t width, const RegResamplerContrib* taps,
                 std::int64_t n, float* out) {
  std::int64_t k = 0;
  for (; k + 4 <= n; k += 4) addLines<4>(lines, width, taps + k, k == 0, out);
  if (n - k >= 2) {
    addLines<2>(lines, width, taps + k, k == 0, out);
    k += 2;
  }
  if (k < n) addLines<1>(lines, width, taps + k, k == 0, out);
  if (n == 0) std::fill(out, out + width, 0.0f);
}

}  // namespace

LineTaps::LineTaps(const ContribLists& lists) {
  ends_.resize(lists.size());
  std::int64_t total = 0;
  for (std::int64_t i = 0; i < ends_.size; ++i) ends_[i] = total += lists[i].n;
  taps_.resize(total);
  for (std::int64_t i = 0; i < ends_.size; ++i)
    std::copy(lists[i].taps, lists[i].taps + lists[i].n, taps_.data + begin(i));
}

LineTaps::LineTaps(std::int64_t numOut, int cell, float scale) : factor_(scale) {
  ends_.resize(numOut);
  taps_.resize(numOut * cell);
  for (std::int64_t i = 0; i < taps_.size; ++i) taps_[i] = {static_cast<int>(i), 1.0f};
  for (std::int64_t i = 0; i < numOut; ++i) ends_[i] = (i + 1) * cell;
}

void combineLines(const float* lines, std::int64_t width, const LineTaps& taps, float* out) {
  for (std::int64_t i = 0; i < taps.numOut(); ++i) {
    float* const line = out + i * width;
    combineLine(lines, width, taps.at(i), taps.count(i), line);
    if (taps.factor() != 1.0f)
      for (std::int64_t x = 0; x < width; ++x) line[x] *= taps.factor();
  }
}

}  // namespace voxreg::detail
