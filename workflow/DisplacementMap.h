#pragma once

#include "foundation/NmMat4d.h"
#include "foundation/NmVec.h"
#include "variational/DisplacementField.h"

namespace voxreg {

/// A map in fine detail, from positions in the reference's world to the corresponding ones in the
/// model's: a matrix, and on top of it the displacement of a field. Outside the field's nodes, the
/// displacement of the nearest point among them applies.
struct DisplacementMap {
  DisplacementField field;   ///< nodes in a separate frame; displacements in the model's world, mm
  NmMat4d toWorld;           ///< that frame to the reference's world, row vectors
  NmMat4d referenceToModel;  ///< world to world: the map without displacement

  /// Whether the field is valid, its axes lead somewhere, both matrices are affine and have
  /// inverses, and no number exceeds 1e30.
  bool isValid() const;

  /// Maps a position in the reference's world to the model's. NaN if the map is not valid, except
  /// that a displacement which is not finite takes effect only within a node's distance of its
  /// place.
  NmVec3d operator()(const NmVec3d& point) const;

  /// As that of a LatticeMap; in a cell between nodes, that of the trilinear map there.
  NmMat4d jacobian(const NmVec3d& point) const;

  /// The smallest value of the Jacobian's determinant or of its reciprocal at the nodes, from
  /// differences with their neighbours to all sides. 0 if the map is not valid.
  double smallestJacobian() const;

 private:
  bool canEvaluate() const;
};

}  // namespace voxreg
