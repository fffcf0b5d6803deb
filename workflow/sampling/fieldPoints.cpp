#include "workflow/sampling/fieldPoints.h"

#include <algorithm>

#include "foundation/numbers/vectors.h"
#include "variational/fieldValues.h"
#include "workflow/sampling/matrices.h"

namespace voxreg::detail {

namespace {

NmMat4d frameToNodes(const DisplacementField& field) {
  NmMat4d matrix;
  for (int a = 0; a < 3; ++a) {
    const bool isLong = field.dims[a] > 1;
    matrix.m[a][a] = isLong ? 1.0 / field.spacing[a] : 0.0;
    matrix.m[3][a] = isLong ? -field.origin[a] / field.spacing[a] : 0.0;
  }
  return matrix;
}

}  // namespace

FieldPoints::FieldPoints(const DisplacementMap& map, const NmMat4d& referenceToWorld,
                         const NmMat4d& worldToModel)
    : field_(&map.field),
      toNodes_(referenceToWorld),
      linear_(referenceToWorld),
      turning_(linearPart(worldToModel)) {
  linear_.multRight(map.referenceToModel);
  linear_.multRight(worldToModel);
  toNodes_.multRight(map.toWorld.inverse());
  toNodes_.multRight(frameToNodes(map.field));
}

NmVec3d FieldPoints::at(const NmVec3d& point) const {
  const NmVec3d displacement = displacementAmongNodes(*field_, throughAffine(toNodes_, point));
  return sum(throughAffine(linear_, point), throughAffine(turning_, displacement));
}

NmMat4d FieldPoints::jacobian(const NmVec3d& point) const {
  double slopes[3][3];
  slopesAmongNodes(*field_, throughAffine(toNodes_, point), slopes);
  NmMat4d jacobian;
  for (int a = 0; a < 3; ++a) std::copy_n(slopes[a], 3, jacobian.m[a]);
  jacobian.multLeft(linearPart(toNodes_)).multRight(turning_);
  for (int a = 0; a < 3; ++a)
    for (int c = 0; c < 3; ++c) jacobian.m[a][c] += linear_.m[a][c];
  return jacobian;
}

}  // namespace voxreg::detail
