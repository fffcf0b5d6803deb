#pragma once

#include "foundation/NmMat4d.h"
#include "variational/cornerDeterminants.h"

namespace voxreg::detail {

/// What maps of a matrix and a displacement in a frame have in common: whether a number is small
/// enough that no product of a few of them overflows;
bool isBounded(double value);

/// whether steps along an axis lead on from its origin;
bool isAxis(double origin, double step);

/// whether a matrix is affine, bounded, and has an inverse;
bool isInvertible(const NmMat4d& matrix);

/// the smallest determinant or reciprocal of one, from those of the map from the frame.
double smallestJacobian(const DeterminantRange& fromFrame, const NmMat4d& frameToWorld);

}  // namespace voxreg::detail
