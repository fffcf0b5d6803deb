#pragma once

#include "foundation/NmMat4d.h"
#include "foundation/NmVec.h"
#include "variational/ControlLattice.h"

namespace voxreg {

/// A smooth map, from positions in the reference's world to the corresponding ones in the model's:
/// a matrix, and on top of it the displacement of a lattice of cubic B-splines. Outside the
/// lattice's box, the displacement of the nearest point of the box applies.
struct LatticeMap {
  ControlLattice lattice;  ///< the box in a separate frame; displacements in the model's world, mm
  NmMat4d boxToWorld;      ///< that frame to the reference's world, row vectors
  NmMat4d referenceToModel;  ///< world to world: the map without displacement

  /// Whether there are 1 to 1024 intervals on each axis with their controls, the box has a volume,
  /// both matrices are affine and have inverses, and no number exceeds 1e30.
  bool isValid() const;

  /// Maps a position in the reference's world, or in the box's frame, to the model's world. NaN if
  /// the map is not valid, except that a coefficient which is not finite takes effect only within
  /// two intervals of its place.
  NmVec3d ofWorld(const NmVec3d& point) const;
  NmVec3d ofBox(const NmVec3d& point) const;

  /// Derivative of the position in the model with respect to that in the reference's world, in the
  /// upper 3 x 3: a small step d maps to d * jacobian.
  NmMat4d jacobian(const NmVec3d& point) const;

  /// The smallest value of the Jacobian's determinant or of its reciprocal, at points a quarter of
  /// an interval apart in the box, from differences with their neighbours to all sides. 0 if the
  /// map is not valid.
  double smallestJacobian() const;

 private:
  bool canEvaluate() const;
  NmVec3d moved(const NmVec3d& inWorld, const NmVec3d& inBox) const;
};

}  // namespace voxreg
