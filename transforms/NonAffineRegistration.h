#pragma once

#include "foundation/NmDMatrix.h"
#include "foundation/NmVec.h"

/// Measures of a single matrix in the Jacobian analysis of a non-affine transform.
namespace nonAffineRegistration {

/// Splits a 3 x 3 matrix into the stretches of its rows and the shears between them, by
/// orthogonalising the rows from the last to the first (Gram-Schmidt). `scale` receives the lengths
/// of the orthogonal rows, `shear` half the shares of row 2 in row 1, of row 2 in row 0 and of row
/// 1 in row 0. `det` is the determinant of `f`.
///
/// Returns false, with `scale` 1 and `shear` 0, for another shape, a row that vanishes, and a
/// determinant below 0.0001 in magnitude with eigenvalues not within a factor of 10000 of each
/// other; false, with both measured, for a negative determinant.
bool decomposeMatrix(NmDMatrix<double>& f, double det, NmVec3d& scale, NmVec3d& shear);

/// A root of polynomial(x, c0, c1, c2, c3) near 1.01, by Newton's method with halved steps and
/// three starts. Returns the last x, converged or not; it is finite and is found in finite time for
/// any coefficients.
double findRoot(double c0, double c1, double c2, double c3);

/// c3 x^3 + c2 x^2 + c1 x + c0
double polynomial(double x, double c0, double c1, double c2, double c3);

/// 3 c3 x^2 + 2 c2 x + c1
double derivative(double x, double c1, double c2, double c3);

}  // namespace nonAffineRegistration
