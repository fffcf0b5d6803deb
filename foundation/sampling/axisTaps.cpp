#include "foundation/sampling/axisTaps.h"

#include <cmath>
#include <cstdint>

#include "foundation/numbers/elementary.h"

namespace voxreg::detail {
namespace {

void add(AxisTaps& taps, std::int64_t index, double weight) {
  taps.index[taps.count] = index;
  taps.weight[taps.count] = weight;
  ++taps.count;
}

}  // namespace

void nearestTap(double position, std::int64_t /*n*/, AxisTaps& taps) {
  taps.count = 0;
  add(taps, std::llround(position), 1.0);
}

void linearTaps(double position, std::int64_t /*n*/, AxisTaps& taps) {
  const std::int64_t below = static_cast<std::int64_t>(position);
  const double fraction = position - static_cast<double>(below);
  taps.count = 0;
  add(taps, below, 1.0 - fraction);
  if (fraction > 0.0) add(taps, below + 1, fraction);
}

void lanczosTaps(double position, std::int64_t n, AxisTaps& taps) {
  const std::int64_t below = static_cast<std::int64_t>(position);
  const double fraction = position - static_cast<double>(below);
  taps.count = 0;
  if (!(fraction > negligibleFraction)) return add(taps, below, 1.0);
  const double angle = lanczosAngle(fraction);
  const double sine = voxreg::detail::sine(angle);
  const double cosine = voxreg::detail::cosine(angle);
  double sum = 0.0;
  for (int tap = 0; tap < numLanczosTaps; ++tap) {
    const std::int64_t index = below + tap - lanczosLobes + 1;
    if (index < 0 || index >= n) continue;
    const double weight = lanczosWeight(tap, fraction, sine, cosine);
    add(taps, index, weight);
    sum += weight;
  }
  for (int i = 0; i < taps.count; ++i) taps.weight[i] /= sum;
}

}  // namespace voxreg::detail
