#include "workflow/sampling/mapParts.h"

#include <algorithm>
#include <cmath>

#include "workflow/sampling/matrices.h"

namespace voxreg::detail {

bool isBounded(double value) {
  constexpr double most = 1e30;
  return std::abs(value) <= most;
}

bool isAxis(double origin, double step) {
  return origin + step > origin && isBounded(origin) && isBounded(step);
}

bool isInvertible(const NmMat4d& matrix) {
  NmMat4d inverse;
  return inverse.affine_inverse(matrix, inverse) &&
         std::all_of(matrix.m[0], matrix.m[0] + 16, isBounded);
}

double smallestJacobian(const DeterminantRange& fromFrame, const NmMat4d& frameToWorld) {
  const double volume = determinant(frameToWorld);
  const auto [smallest, largest] =
      std::minmax({fromFrame.smallest / volume, fromFrame.largest / volume});
  return largest > 1.0 ? std::min(smallest, 1.0 / largest) : smallest;
}

}  // namespace voxreg::detail
