#pragma once

#include <cstdint>
#include <limits>
#include <vector>

#include "foundation/NmVec.h"
#include "variational/ControlLattice.h"

namespace voxreg {

/// A displacement at the nodes of a grid, trilinear between them.
struct DisplacementField {
  NmVec3d origin;             ///< the first node, world units
  NmVec3d spacing;            ///< between nodes; of no effect on an axis with one node
  NmVec3i dims;               ///< nodes along each axis
  std::vector<float> values;  ///< world units: x fastest, component slowest

  /// Whether there is a node on each axis, the values of all nodes, and distances between them.
  bool isValid() const;

  /// At a position, which is moved to the grid if it is outside. NaN if the field is not valid.
  NmVec3d displacementAt(const NmVec3d& position) const;
};

/// A field in place of a lattice, and the distance between their displacements at the centres
/// between nodes (on an axis with one node: at that node). NaN without a field.
struct FieldApproximation {
  DisplacementField field;
  double meanError = std::numeric_limits<double>::quiet_NaN();
  double largestError = std::numeric_limits<double>::quiet_NaN();
};

/// Nodes are spread over the lattice's box from corner to corner; a single one is at the lower end.
/// There is no field if `dims` has a number below 1 or more than 2^31 nodes, or if the lattice has
/// no controls.
FieldApproximation approximateByField(const ControlLattice& lattice, const NmVec3i& dims);

}  // namespace voxreg
