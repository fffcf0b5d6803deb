#pragma once

/// Elementary functions made of only additions, multiplications and divisions, so that results have
/// the same bits on every machine: those of C libraries differ in the last bit between libraries
/// and, in glibc, between processors. The error is below 0.9 units in the last place for arguments
/// of every size; special values are those of the functions in <cmath>.
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

/// Replaces `count` finite numbers above 0 with their natural logarithms, equal to those of the
/// function above.
void takeLogarithms(double* values, int count);

/// A finite `base` above 0 to the power of a finite `exponent`.
double power(double base, double exponent);

}  // namespace voxreg::detail
