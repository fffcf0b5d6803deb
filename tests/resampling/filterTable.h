#pragma once

#include <cmath>

#include "resampling/RegResampler.h"

inline double cubicOf(double t, double a, double b, double c, double d) {
  return ((a * t + b) * t + c) * t + d;
}

inline double windowedSinc(double t, double lobes) {
  constexpr double pi = 3.14159265358979323846;
  if (t == 0.0) return 1.0;
  const double u = pi * t;
  return t < lobes ? std::sin(u) / u * std::sin(u / lobes) / (u / lobes) : 0.0;
}

/// A row of the filter table, with the kernel once more in double precision.
struct FilterRow {
  RegResampler::FilterType type;
  float (*kernel)(float);
  double support;
  double (*exact)(double);
};

/// All filters that weight; the two reductions are not among them.
inline const FilterRow filterTable[] = {
    {RegResampler::Box, box_filter, 0.5, [](double t) { return t <= 0.5 ? 1.0 : 0.0; }},
    {RegResampler::Triangle, triangle_filter, 1.0,
     [](double t) { return std::fmax(1.0 - t, 0.0); }},
    {RegResampler::Bell, bell_filter, 1.5,
     [](double t) { return t < 0.5   ? 0.75 - t * t
                           : t < 1.5 ? 0.5 * (t - 1.5) * (t - 1.5)
                                     : 0.0; }},
    {RegResampler::BSpline, B_spline_filter, 2.0,
     [](double t) {
       return t < 1.0 ? cubicOf(t, 3, -6, 0, 4) / 6 : t < 2.0 ? std::pow(2.0 - t, 3.0) / 6 : 0.0;
     }},
    {RegResampler::Lanczos3, Lanczos3_filter, 3.0, [](double t) { return windowedSinc(t, 3.0); }},
    {RegResampler::Mitchell, Mitchell_filter, 2.0,
     [](double t) {
       return t < 1.0   ? cubicOf(t, 21, -36, 0, 16) / 18
              : t < 2.0 ? cubicOf(t, -7, 36, -60, 32) / 18
                        : 0.0;
     }},
    {RegResampler::Cubic6, cubic6_filter, 3.0,
     [](double t) {
       return t < 1.0   ? cubicOf(t, 6, -11, 0, 5) / 5
              : t < 2.0 ? cubicOf(t, -3, 16, -27, 14) / 5
              : t < 3.0 ? cubicOf(t, 1, -8, 21, -18) / 5
                        : 0.0;
     }},
    {RegResampler::Cubic8, cubic8_filter, 4.0,
     [](double t) {
       return t < 1.0   ? cubicOf(t, 67, -123, 0, 56) / 56
              : t < 2.0 ? cubicOf(t, -33, 177, -300, 156) / 56
              : t < 3.0 ? cubicOf(t, 9, -75, 204, -180) / 56
              : t < 4.0 ? cubicOf(t, -3, 33, -120, 144) / 56
                        : 0.0;
     }},
    {RegResampler::LanczosTest, LanczosTest_filter, 20.0,
     [](double t) { return windowedSinc(t, 20.0); }},
};
