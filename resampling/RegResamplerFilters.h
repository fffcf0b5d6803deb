#pragma once

/// Filter kernels of RegResampler, as functions of the distance in voxels. All are 0 outside their
/// support, and for NaN.

/// 1 within half a voxel, both ends included.
float box_filter(float x);

/// Linear interpolation; support 1.
float triangle_filter(float x);

/// Quadratic B-spline; support 1.5.
float bell_filter(float x);

/// Cubic B-spline; support 2.
float B_spline_filter(float x);

/// Sinc windowed by the main lobe of a sinc three times as wide; support 3.
float Lanczos3_filter(float x);

/// Cubic with B = C = 1/3 (Mitchell and Netravali, Computer Graphics 22, 1988); support 2.
float Mitchell_filter(float x);

/// Interpolating piecewise cubic over 6 voxels; support 3.
float cubic6_filter(float x);

/// Interpolating piecewise cubic over 8 voxels; support 4.
float cubic8_filter(float x);

/// Like Lanczos3_filter with a window of 20 voxels to either side; support 20.
float LanczosTest_filter(float x);
