#include "workflow/sampling/taps.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <span>

#include "foundation/numbers/elementary.h"

namespace voxreg::detail {

namespace {

/// Keys, Cubic convolution interpolation for digital image processing, 1981, with a = -1/2: the
/// choice that reproduces quadratic functions.
double keysCubic(double x) {
  const double d = std::abs(x);
  if (d < 1.0) return (1.5 * d - 2.5) * d * d + 1.0;
  return d < 2.0 ? ((-0.5 * d + 2.5) * d - 4.0) * d + 2.0 : 0.0;
}

/// Keeps the weights of the voxels that exist in a line of n, starting at `first`, and scales them
/// to the sum 1.
Taps limited(std::int64_t first, std::span<const double> weights, std::int64_t n) {
  Taps taps = {std::max(first, std::int64_t{0}), 0, {}};
  double sum = 0.0;
  for (const double weight : weights) {
    const std::int64_t index = first++;
    if (index < 0 || index >= n) continue;
    taps.share[taps.count++] = weight;
    sum += weight;
  }
  for (int i = 0; i < taps.count; ++i) taps.share[i] /= sum;
  return taps;
}

Taps cubicTaps(std::int64_t below, double fraction, std::int64_t n) {
  double weights[4];
  for (int i = 0; i < 4; ++i) weights[i] = keysCubic(fraction + 1.0 - i);
  return limited(below - 1, weights, n);
}

/// Up to a common factor of all taps, the kernel at x = fraction - k is sin(pi x / 3) / x^2 with
/// the sign of (-1)^k. The addition theorem gives the sines of all taps from a single one.
Taps lanczosTaps(std::int64_t below, double fraction, std::int64_t n) {
  constexpr double half = 0.5;
  constexpr double root = half * std::numbers::sqrt3;
  // (-1)^k cos(pi k / 3) and (-1)^k sin(pi k / 3) for k = -2 ... 3
  constexpr double cosines[6] = {-half, -half, 1.0, -half, -half, 1.0};
  constexpr double sines[6] = {-root, root, 0.0, -root, root, 0.0};
  const double angle = std::numbers::pi / 3.0 * fraction;
  const double sineHere = sine(angle);
  const double cosineHere = cosine(angle);
  double weights[6];
  for (int i = 0; i < 6; ++i) {
    const double x = fraction + 2.0 - i;
    weights[i] = (sineHere * cosines[i] - cosineHere * sines[i]) / (x * x);
  }
  return limited(below - 2, weights, n);
}

/// Margin for rounding at positions half way between two voxels.
constexpr double tieWidth = 1e-3;

Taps nearestTap(double place, std::int64_t n) {
  const std::int64_t index = std::lround(std::ceil(place - 0.5 - tieWidth));
  return {std::clamp(index, std::int64_t{0}, n - 1), 1, {1.0}};
}

}  // namespace

Taps tapsFor(Interpolation interpolation, double place, std::int64_t n) {
  if (interpolation == Interpolation::nearest) return nearestTap(place, n);
  const std::int64_t below = static_cast<std::int64_t>(place);
  const double fraction = place - static_cast<double>(below);
  if (!(fraction > 0.0)) return {below, 1, {1.0}};
  switch (interpolation) {
    case Interpolation::cubic:
      return cubicTaps(below, fraction, n);
    case Interpolation::lanczos:
      return lanczosTaps(below, fraction, n);
    default:
      return {below, 2, {1.0 - fraction, fraction}};
  }
}

}  // namespace voxreg::detail
