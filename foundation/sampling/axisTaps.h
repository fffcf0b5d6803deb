#pragma once

#include <cstdint>
#include <numbers>

namespace voxreg::detail {

/// The voxels of one axis from which a sample is taken, and their weights, which sum to 1. A voxel
/// with weight 0 is left out, so a NaN or an infinity in it has no effect.
struct AxisTaps {
  int count = 0;
  std::int64_t index[6];
  double weight[6];
};

/// Fills `taps` for a position in voxels from 0 to n - 1 on an axis of n voxels.
using TapRule = void (*)(double position, std::int64_t n, AxisTaps& taps);

void nearestTap(double position, std::int64_t n, AxisTaps& taps);
void linearTaps(double position, std::int64_t n, AxisTaps& taps);

/// Lanczos kernel with three lobes, sinc(x) sinc(x / 3). Taps outside the ends are dropped and the
/// others scaled to the sum 1.
void lanczosTaps(double position, std::int64_t n, AxisTaps& taps);

inline constexpr int lanczosLobes = 3;
inline constexpr int numLanczosTaps = 2 * lanczosLobes;

/// Up to this distance after a voxel a point counts as lying on it, since the square would
/// underflow.
inline constexpr double negligibleFraction = 1.0e-150;

/// The angle whose sine and cosine give the weights of all taps.
inline double lanczosAngle(double fraction) {
  return std::numbers::pi / lanczosLobes * fraction;
}

/// The weight, up to a factor, of tap 0 to 5 at a fraction above 0 from the voxel of tap 2; for
/// doubles and for vectors of them. At x = fraction - k the kernel is 3 sin(pi x) sin(pi x / 3) /
/// (pi x)^2. The first sine differs between taps only in sign, so its magnitude cancels with the
/// constants when the sum is scaled to 1; the addition theorem gives the second.
template <class Doubles>
[[gnu::always_inline]] inline Doubles lanczosWeight(int tap, Doubles fraction, Doubles sine,
                                                    Doubles cosine) {
  constexpr double half = 0.5;
  constexpr double root = half * std::numbers::sqrt3;
  // (-1)^k cos(pi k / 3) and (-1)^k sin(pi k / 3) for k = -2 ... 3
  constexpr double cosines[numLanczosTaps] = {-half, -half, 1.0, -half, -half, 1.0};
  constexpr double sines[numLanczosTaps] = {-root, root, 0.0, -root, root, 0.0};
  const Doubles x = fraction - static_cast<double>(tap - lanczosLobes + 1);
  return (sine * cosines[tap] - cosine * sines[tap]) / (x * x);
}

}  // namespace voxreg::detail
