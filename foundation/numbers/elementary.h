#pragma once

/// Elementary functions made of additions, multiplications and divisions alone, so that a result
/// has the same bits on every machine: those of a C library differ in the last bit from one
/// library to the next, and in glibc from one processor to the next. The error is below 0.9 units
/// in the last place, for arguments of every size; special values are those of the functions in
/// <cmath>.
namespace voxreg::detail {

/// Sine and cosine of `x` radians.
double sine(double x);
double cosine(double x);

/// The same for `count` angles from 0 to pi / 2.
void takeSinesAndCosines(const double* angles, int count, double* sines, double* cosines);

/// Angle of the vector (x, y) in radians, -pi to pi.
double arcTangent(double y, double x);

/// Natural logarithm.
double logarithm(double x);

/// Replaces `count` finite numbers above 0 by their natural logarithms, the same as the above.
void takeLogarithms(double* values, int count);

/// A finite `base` above 0 to the power of a finite `exponent`.
double power(double base, double exponent);

}  // namespace voxreg::detail
