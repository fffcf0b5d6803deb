#include "workflow/LatticeMap.h"

#include <algorithm>
#include <cmath>

#include "foundation/numbers/vectors.h"
#include "variational/latticeDeterminants.h"
#include "variational/latticeValues.h"
#include "workflow/sampling/matrices.h"

namespace voxreg {

namespace {

/// Small enough that no product of a few of them overflows.
bool isBounded(double value) {
  constexpr double most = 1e30;
  return std::abs(value) <= most;
}

bool isInvertible(const NmMat4d& matrix) {
  NmMat4d inverse;
  return inverse.affine_inverse(matrix, inverse) &&
         std::all_of(matrix.m[0], matrix.m[0] + 16, isBounded);
}

}  // namespace

/// Everything that isValid requires but the coefficients' values.
bool LatticeMap::canEvaluate() const {
  for (int a = 0; a < 3; ++a) {
    const double low = lattice.origin[a];
    const double spacing = lattice.spacing[a];
    if (!(low + spacing > low && isBounded(low) && isBounded(spacing))) return false;
  }
  return lattice.hasControls() && isInvertible(boxToWorld) && isInvertible(referenceToModel);
}

bool LatticeMap::isValid() const {
  return canEvaluate() && std::all_of(lattice.values.begin(), lattice.values.end(), isBounded);
}

NmVec3d LatticeMap::ofWorld(const NmVec3d& point) const {
  NmVec3d inBox;
  boxToWorld.inverse().multVecMatrix(point, inBox);
  return moved(point, inBox);
}

NmVec3d LatticeMap::ofBox(const NmVec3d& point) const {
  NmVec3d inWorld;
  boxToWorld.multVecMatrix(point, inWorld);
  return moved(inWorld, point);
}

/// Takes the point in both frames.
NmVec3d LatticeMap::moved(const NmVec3d& inWorld, const NmVec3d& inBox) const {
  if (!canEvaluate()) return detail::nowhere();
  NmVec3d found;
  referenceToModel.multVecMatrix(inWorld, found);
  return detail::sum(found, lattice.displacementAt(inBox));
}

NmMat4d LatticeMap::jacobian(const NmVec3d& point) const {
  if (!canEvaluate()) return detail::noDerivative();
  const NmMat4d toBox = boxToWorld.inverse();
  NmVec3d inBox;
  toBox.multVecMatrix(point, inBox);
  double slopes[3][3];
  detail::displacementSlopes(lattice, inBox, slopes);
  NmMat4d jacobian;
  for (int a = 0; a < 3; ++a) std::copy_n(slopes[a], 3, jacobian.m[a]);
  jacobian.multLeft(detail::linearPart(toBox));
  for (int a = 0; a < 3; ++a)
    for (int c = 0; c < 3; ++c) jacobian.m[a][c] += referenceToModel.m[a][c];
  return jacobian;
}

double LatticeMap::smallestJacobian() const {
  if (!isValid()) return 0.0;
  NmMat4d boxToModel = boxToWorld;
  boxToModel.multRight(referenceToModel);
  const detail::DeterminantRange found = detail::cornerDeterminants(lattice, boxToModel);
  const double volume = detail::determinant(boxToWorld);
  const auto [smallest, largest] = std::minmax({found.smallest / volume, found.largest / volume});
  return largest > 1.0 ? std::min(smallest, 1.0 / largest) : smallest;
}

}  // namespace voxreg
