#include "foundation/axisTaps.h"

#include <cmath>
#include <numbers>

#include "foundation/elementary.h"

namespace voxreg::detail {
namespace {

constexpr int lobes = 3;

void add(AxisTaps& taps, long index, double weight) {
  taps.index[taps.count] = index;
  taps.weight[taps.count] = weight;
  ++taps.count;
}

}  // namespace

void nearestTap(double position, long /*n*/, AxisTaps& taps) {
  taps.count = 0;
  add(taps, std::lround(position), 1.0);
}

void linearTaps(double position, long /*n*/, AxisTaps& taps) {
  const long below = static_cast<long>(position);
  const double fraction = position - static_cast<double>(below);
  taps.count = 0;
  add(taps, below, 1.0 - fraction);
  if (fraction > 0.0) add(taps, below + 1, fraction);
}

// At x = fraction - k the kernel is 3 sin(pi x) sin(pi x / 3) / (pi x)^2. The first sine differs
// between taps in its sign alone, so that its size goes with the constants when the sum becomes 1;
// the addition theorem gives the second.
void lanczosTaps(double position, long n, AxisTaps& taps) {
  const long below = static_cast<long>(position);
  const double fraction = position - static_cast<double>(below);
  taps.count = 0;
  if (!(fraction > 0.0)) return add(taps, below, 1.0);
  const double sine = voxreg::detail::sine(std::numbers::pi / lobes * fraction);
  const double cosine = voxreg::detail::cosine(std::numbers::pi / lobes * fraction);
  constexpr double half = 0.5;
  constexpr double root = half * std::numbers::sqrt3;
  // (-1)^k cos(pi k / 3) and (-1)^k sin(pi k / 3) for k = -2 ... 3
  constexpr double cosines[2 * lobes] = {-half, -half, 1.0, -half, -half, 1.0};
  constexpr double sines[2 * lobes] = {-root, root, 0.0, -root, root, 0.0};
  double sum = 0.0;
  for (int tap = 0; tap < 2 * lobes; ++tap) {
    const int k = tap - lobes + 1;
    if (below + k < 0 || below + k >= n) continue;
    const double x = fraction - k;
    const double weight = (sine * cosines[tap] - cosine * sines[tap]) / (x * x);
    add(taps, below + k, weight);
    sum += weight;
  }
  for (int i = 0; i < taps.count; ++i) taps.weight[i] /= sum;
}

}  // namespace voxreg::detail
