#include "workflow/LatticeMap.h"

#include <algorithm>

#include "foundation/numbers/vectors.h"
#include "variational/latticeDeterminants.h"
#include "variational/latticeValues.h"
#include "workflow/sampling/mapParts.h"
#include "workflow/sampling/matrices.h"

namespace voxreg {

/// Everything that isValid requires but the coefficients' values.
bool LatticeMap::canEvaluate() const {
  for (int a = 0; a < 3; ++a)
    if (!detail::isAxis(lattice.origin[a], lattice.spacing[a])) return false;
  return lattice.hasControls() && detail::isInvertible(boxToWorld) &&
         detail::isInvertible(referenceToModel);
}

bool LatticeMap::isValid() const {
  return canEvaluate() &&
         std::all_of(lattice.values.begin(), lattice.values.end(), detail::isBounded);
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
  return detail::smallestJacobian(detail::cornerDeterminants(lattice, boxToModel), boxToWorld);
}

}  // namespace voxreg
