#include "workflow/DisplacementMap.h"

#include <algorithm>

#include "foundation/numbers/vectors.h"
#include "variational/fieldValues.h"
#include "workflow/sampling/fieldPoints.h"
#include "workflow/sampling/mapParts.h"
#include "workflow/sampling/matrices.h"

namespace voxreg {

/// Everything that isValid requires but the displacements' values.
bool DisplacementMap::canEvaluate() const {
  if (!field.isValid()) return false;
  for (int a = 0; a < 3; ++a)
    if (field.dims[a] > 1 && !detail::isAxis(field.origin[a], field.spacing[a])) return false;
  return detail::isInvertible(toWorld) && detail::isInvertible(referenceToModel);
}

bool DisplacementMap::isValid() const {
  return canEvaluate() && std::all_of(field.values.begin(), field.values.end(), [](float value) {
           return detail::isBounded(static_cast<double>(value));
         });
}

NmVec3d DisplacementMap::operator()(const NmVec3d& point) const {
  return canEvaluate() ? detail::FieldPoints(*this).at(point) : detail::nowhere();
}

NmMat4d DisplacementMap::jacobian(const NmVec3d& point) const {
  return canEvaluate() ? detail::FieldPoints(*this).jacobian(point) : detail::noDerivative();
}

double DisplacementMap::smallestJacobian() const {
  if (!isValid()) return 0.0;
  NmMat4d frameToModel = toWorld;
  frameToModel.multRight(referenceToModel);
  return detail::smallestJacobian(detail::cornerDeterminants(field, frameToModel), toWorld);
}

}  // namespace voxreg
