#pragma once

#include <cmath>

#include "resampling/RegResampler.h"

/// A row of the filter table, with the kernel once more in double precision.
struct FilterRow {
  RegResampler::FilterType type;
  float (*kernel)(float);
  double support;
  double (*exact)(double);
};

inline double cubicOf(double t, double a, double b, double c, double d) {
  return ((a * t + b) * t + c) * t + d;
}

inline double windowedSinc(double t, double lobes) {
  constexpr double pi = 3.14159265358979323846;
  if (t == 0.0) return 1.0;
  const double u = pi * t;
  return t < lobes ? std::sin(u) / u * std::sin(u / lobes) / (u / lobes) : 0.0;
}

inline double exactBox(double t) {
  return t <= 0.5 ? 1.0 : 0.0;
}
inline double exactTriangle(double t) {
  return std::fmax(1.0 - t, 0.0);
}
inline double exactBell(double t) {
  return t < 0.5 ? 0.75 - t * t : t < 1.5 ? 0.5 * (t - 1.5) * (t - 1.5) : 0.0;
}
inline double exactBSpline(double t) {
  const double u = 2.0 - t;
  return t < 1.0 ? cubicOf(t, 0.5, -1.0, 0.0, 2.0 / 3.0) : t < 2.0 ? u * u * u / 6.0 : 0.0;
}
inline double exactLanczos3(double t) {
  return windowedSinc(t, 3.0);
}
inline double exactMitchell(double t) {
  return t < 1.0   ? cubicOf(t, 7.0, -12.0, 0.0, 16.0 / 3.0) / 6.0
         : t < 2.0 ? cubicOf(t, -7.0 / 3.0, 12.0, -20.0, 32.0 / 3.0) / 6.0
                   : 0.0;
}
inline double exactCubic6(double t) {
  return t < 1.0   ? cubicOf(t, 6, -11, 0, 5) / 5
         : t < 2.0 ? cubicOf(t, -3, 16, -27, 14) / 5
         : t < 3.0 ? cubicOf(t, 1, -8, 21, -18) / 5
                   : 0.0;
}
inline double exactCubic8(double t) {
  return t < 1.0   ? cubicOf(t, 67, -123, 0, 56) / 56
         : t < 2.0 ? cubicOf(t, -33, 177, -300, 156) / 56
         : t < 3.0 ? cubicOf(t, 9, -75, 204, -180) / 56
         : t < 4.0 ? cubicOf(t, -3, 33, -120, 144) / 56
                   : 0.0;
}
inline double exactLanczosTest(double t) {
  return windowedSinc(t, 20.0);
}

/// All filters that weight; the two reductions are not among them.
inline constexpr FilterRow filterTable[] = {
    {RegResampler::Box, box_filter, 0.5, exactBox},
    {RegResampler::Triangle, triangle_filter, 1.0, exactTriangle},
    {RegResampler::Bell, bell_filter, 1.5, exactBell},
    {RegResampler::BSpline, B_spline_filter, 2.0, exactBSpline},
    {RegResampler::Lanczos3, Lanczos3_filter, 3.0, exactLanczos3},
    {RegResampler::Mitchell, Mitchell_filter, 2.0, exactMitchell},
    {RegResampler::Cubic6, cubic6_filter, 3.0, exactCubic6},
    {RegResampler::Cubic8, cubic8_filter, 4.0, exactCubic8},
    {RegResampler::LanczosTest, LanczosTest_filter, 20.0, exactLanczosTest},
};
