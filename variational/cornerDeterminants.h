#pragma once

#include <functional>

#include "foundation/NmMat4d.h"
#include "foundation/NmVec.h"

namespace voxreg::detail {

/// Determinants of a map's derivative.
struct DeterminantRange {
  double smallest;
  double largest;
  NmVec3d place;  ///< of the smallest one
};

/// A regular set of points with a displacement each, at least two along each axis.
struct DisplacedPoints {
  NmVec3d origin;
  NmVec3d perUnit;  ///< points to a unit of length
  NmVec3i dims;
  std::function<void(int y, int z, NmVec3d* row)> fillRow;  ///< writes the displacements of a row
};

/// Of x * linear + the displacement at x, from differences between neighbouring points, forward or
/// backward along each axis, so eight determinants at each point. Differences across two steps
/// would miss a fold that reaches over one.
DeterminantRange cornerDeterminants(const DisplacedPoints& points, const NmMat4d& linear);

}  // namespace voxreg::detail
