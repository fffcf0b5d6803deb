#include "transforms/NonAffineRegistration.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "transforms/matrixDecomposition.h"
#include "transforms/orthogonalRows.h"

using nonAffineRegistration::findRoot;

namespace {

/// Newton's step; if the curve is too flat for one, a tenth downhill on a rising curve and 0 on any
/// other (empirical).
double newtonStep(double f, double slope) {
  constexpr double tenth = 0.1f;
  if (std::fabs(slope) > 1e-06) return -f / slope;
  if (!(slope > 0.0)) return 0.0;
  return f > 0.0 ? -tenth : tenth;
}

/// True if no eigenvalue of `f` is smaller in magnitude than a 10000th of another one.
bool hasBalancedEigenvalues(const double (&f)[3][3], double det) {
  constexpr double ratio = 0.0001;
  const double trace = f[0][0] + f[1][1] + f[2][2];
  const double minors = f[0][0] * f[1][1] - f[0][1] * f[1][0] + f[1][1] * f[2][2] -
                        f[1][2] * f[2][1] + f[0][0] * f[2][2] - f[0][2] * f[2][0];
  const double first = findRoot(det, -minors, trace, -1.0);
  const double magnitude = std::fabs(first);
  if (magnitude < 1e-20) return false;
  const double product = det / first;
  const double discriminant = 0.25 * ((trace - first) * (trace - first)) - product;
  if (!std::isfinite(discriminant)) return false;
  if (discriminant < 0.0) {
    const double modulus = std::sqrt(std::fabs(product));
    return magnitude * ratio <= modulus && modulus * ratio <= magnitude;
  }
  const double centre = (trace - first) / 2;
  const double second = std::fabs(centre + std::sqrt(discriminant));
  const double third = std::fabs(centre - std::sqrt(discriminant));
  return std::max({magnitude, second, third}) * ratio <= std::min({magnitude, second, third});
}

}  // namespace

double nonAffineRegistration::polynomial(double x, double c0, double c1, double c2, double c3) {
  return c3 * x * x * x + c2 * x * x + c1 * x + c0;
}

double nonAffineRegistration::derivative(double x, double c1, double c2, double c3) {
  return 3 * c3 * x * x + 2 * c2 * x + c1;
}

double nonAffineRegistration::findRoot(double c0, double c1, double c2, double c3) {
  constexpr double accuracy = 1e-10;
  double x = 1.01;
  double shift = 0.25;
  for (int start = 0; start < 3; ++start) {
    double f = polynomial(x, c0, c1, c2, c3);
    for (int i = 0; i < 100 && std::fabs(f) > accuracy; ++i) {
      double step = newtonStep(f, derivative(x, c1, c2, c3));
      if (!std::isfinite(step)) return x;
      double next = polynomial(x + step, c0, c1, c2, c3);
      // Terminates at the latest when the step no longer changes x, which gives f again.
      while (!(std::fabs(next) <= std::fabs(f))) {
        step *= 0.5;
        next = polynomial(x + step, c0, c1, c2, c3);
      }
      x += step;
      f = next;
    }
    if (std::fabs(f) <= accuracy) break;
    x -= 2 * shift;
    shift *= -2;
  }
  return x;
}

bool voxreg::detail::decompose(const double (&f)[3][3], double det, NmVec3d& scale,
                               NmVec3d& shear) {
  scale = NmVec3d(1, 1, 1);
  shear = NmVec3d();
  if (std::fabs(det) < smallDeterminant && !hasBalancedEigenvalues(f, det)) return false;
  double rows[3][3];
  std::memcpy(rows, f, sizeof rows);
  OrthogonalRows<double> orthogonal;
  if (!orthogonal.orthogonalise(rows)) return false;
  for (int i = 0; i < 3; ++i) {
    scale[i] = std::sqrt(orthogonal.squares[i]);
    shear[i] = orthogonal.shares[i] / 2;
  }
  return det >= 0.0;
}

bool nonAffineRegistration::decomposeMatrix(NmDMatrix<double>& f, double det, NmVec3d& scale,
                                            NmVec3d& shear) {
  scale = NmVec3d(1, 1, 1);
  shear = NmVec3d();
  if (f.nRows != 3 || f.nCols != 3) return false;
  double plain[3][3];
  std::memcpy(plain, f.data, sizeof plain);
  return voxreg::detail::decompose(plain, det, scale, shear);
}
