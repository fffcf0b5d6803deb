#include "foundation/axisTaps.h"

#include <cmath>
#include <numbers>

namespace voxreg::detail {
namespace {

constexpr int lobes = 3;

void add(AxisTaps& taps, long index, double weight) {
  taps.index[taps.count] = index;
  taps.weight[taps.count] = weight;
  ++taps.count;
}

double lanczos(double x) {
  const double angle = std::numbers::pi * x;
  return lobes * std::sin(angle) * std::sin(angle / lobes) / (angle * angle);
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

void lanczosTaps(double position, long n, AxisTaps& taps) {
  const long below = static_cast<long>(position);
  const double fraction = position - static_cast<double>(below);
  taps.count = 0;
  if (!(fraction > 0.0)) return add(taps, below, 1.0);
  double sum = 0.0;
  for (long i = below - lobes + 1; i <= below + lobes; ++i) {
    if (i < 0 || i >= n) continue;
    const double weight = lanczos(position - static_cast<double>(i));
    add(taps, i, weight);
    sum += weight;
  }
  for (int k = 0; k < taps.count; ++k) taps.weight[k] /= sum;
}

}  // namespace voxreg::detail
