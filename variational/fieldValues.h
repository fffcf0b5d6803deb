#pragma once

#include "foundation/NmMat4d.h"
#include "variational/DisplacementField.h"
#include "variational/cornerDeterminants.h"

namespace voxreg::detail {

/// A position in nodes of a valid field, as all functions here require, counted from the first one;
/// 0 along an axis with one node.
NmVec3d inNodes(const DisplacementField& field, const NmVec3d& position);

/// At a point in nodes; as DisplacementField::displacementAt.
NmVec3d displacementAmongNodes(const DisplacementField& field, const NmVec3d& point);

/// Derivatives of the displacement by the place in nodes: slopes[axis][component]. Along an axis on
/// which the point is outside they are 0.
void slopesAmongNodes(const DisplacementField& field, const NmVec3d& point, double (&slopes)[3][3]);

/// At all nodes. An axis with one node counts as a long one without slope.
DeterminantRange cornerDeterminants(const DisplacementField& field, const NmMat4d& linear);

}  // namespace voxreg::detail
