#include "resampling/RegResamplerFilters.h"

#include <cmath>

namespace {

/// Polynomial a*t^3 + b*t^2 + c*t + d: single-precision powers, double-precision sum.
float cubic(double a, double b, double c, double d, float t) {
  const float t2 = t * t;
  const float t3 = t2 * t;
  return static_cast<float>(a * static_cast<double>(t3) + b * static_cast<double>(t2) +
                            c * static_cast<double>(t) + d);
}

float sinc(float u) {
  const float v = 3.1415927f * u;
  return v == 0.0f ? 1.0f : std::sin(v) / v;
}

}  // namespace

float box_filter(float x) {
  return x >= -0.5f && x <= 0.5f ? 1.0f : 0.0f;
}

float triangle_filter(float x) {
  const float t = std::fabs(x);
  return t < 1.0f ? 1.0f - t : 0.0f;
}

float bell_filter(float x) {
  const float t = std::fabs(x);
  if (t < 0.5f) return 0.75f - t * t;
  if (!(t < 1.5f)) return 0.0f;
  const float u = t - 1.5f;
  return 0.5f * (u * u);
}

float B_spline_filter(float x) {
  const float t = std::fabs(x);
  if (t < 1.0f) return cubic(0.5, -1.0, 0.0, 0.6666666666666666, t);
  if (!(t < 2.0f)) return 0.0f;
  const float u = 2.0f - t;
  return static_cast<float>(static_cast<double>(u * u * u) * 0.16666666666666666);
}

float Lanczos3_filter(float x) {
  const float t = std::fabs(x);
  return t < 3.0f ? sinc(t) * sinc(t / 3.0f) : 0.0f;
}

float Mitchell_filter(float x) {
  const float t = std::fabs(x);
  if (t < 1.0f) return cubic(7.0, -12.0, 0.0, 5.333333333333333, t) / 6.0f;
  if (t < 2.0f) return cubic(-2.3333333333333335, 12.0, -20.0, 10.666666666666666, t) / 6.0f;
  return 0.0f;
}

float cubic6_filter(float x) {
  const float t = std::fabs(x);
  if (t < 1.0f) return cubic(1.2, -2.2, 0.0, 1.0, t);
  if (t < 2.0f) return cubic(-0.6, 3.2, -5.4, 2.8, t);
  if (t < 3.0f) return cubic(0.2, -1.6, 4.2, -3.6, t);
  return 0.0f;
}

float cubic8_filter(float x) {
  const float t = std::fabs(x);
  if (t < 1.0f) return cubic(1.1964285714285714, -2.1964285714285716, 0.0, 1.0, t);
  if (t < 2.0f)
    return cubic(-0.5892857142857143, 3.1607142857142856, -5.357142857142857, 2.7857142857142856,
                 t);
  if (t < 3.0f)
    return cubic(0.16071428571428573, -1.3392857142857142, 3.642857142857143, -3.2142857142857144,
                 t);
  if (t < 4.0f)
    return cubic(-0.05357142857142857, 0.5892857142857143, -2.142857142857143, 2.5714285714285716,
                 t);
  return 0.0f;
}

float LanczosTest_filter(float x) {
  const float t = std::fabs(x);
  return t < 20.0f ? sinc(t) * sinc(t / 20.0f) : 0.0f;
}
