#pragma once

#include <array>
#include <cmath>
#include <initializer_list>

#include "resampling/RegResampler.h"

/// Cubic polynomials in t for [0, 1), [1, 2) and so on, their highest coefficient first.
inline double cubicPieces(double t, double divisor,
                          std::initializer_list<std::array<double, 4>> pieces) {
  if (!(t < static_cast<double>(pieces.size()))) return 0.0;
  const auto& [a, b, c, d] = pieces.begin()[static_cast<int>(t)];
  return (((a * t + b) * t + c) * t + d) / divisor;
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
       return cubicPieces(t, 6, {{3, -6, 0, 4}, {-1, 6, -12, 8}});
     }},
    {RegResampler::Lanczos3, Lanczos3_filter, 3.0, [](double t) { return windowedSinc(t, 3.0); }},
    {RegResampler::Mitchell, Mitchell_filter, 2.0,
     [](double t) {
       return cubicPieces(t, 18, {{21, -36, 0, 16}, {-7, 36, -60, 32}});
     }},
    {RegResampler::Cubic6, cubic6_filter, 3.0,
     [](double t) {
       return cubicPieces(t, 5, {{6, -11, 0, 5}, {-3, 16, -27, 14}, {1, -8, 21, -18}});
     }},
    {RegResampler::Cubic8, cubic8_filter, 4.0,
     [](double t) {
       return cubicPieces(
           t, 56,
           {{67, -123, 0, 56}, {-33, 177, -300, 156}, {9, -75, 204, -180}, {-3, 33, -120, 144}});
     }},
    {RegResampler::LanczosTest, LanczosTest_filter, 20.0,
     [](double t) { return windowedSinc(t, 20.0); }},
};
