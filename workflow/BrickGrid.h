#pragma once

#include "foundation/NmMat4d.h"
#include "foundation/NmVec.h"
#include "transforms/RegNonAffineTransform.h"

namespace voxreg {

/// A map on a grid of bricks, from positions in the reference's world to the corresponding ones in
/// the model's. Within a brick it is trilinear between the eight vertices.
struct BrickGrid {
  using Grid = RegNonAffineTransform::NonAffineTransformDescriptor;

  /// The map outside the box: extrapolated from the outermost bricks, or with the displacement of
  /// the nearest point of the box.
  enum class Beyond { bricks, displacement };

  Grid grid;           ///< the box in a separate frame, the vertices in the model's world
  NmMat4d boxToWorld;  ///< that frame to the reference's world, row vectors
  Beyond beyond = Beyond::bricks;

  /// Whether there are 1 to 32 bricks on each axis with their vertices, and the box has a volume.
  bool isValid() const;

  /// Maps a position in the reference's world, or in the box's frame, to the model's world. NaN for
  /// an invalid grid.
  NmVec3d ofWorld(const NmVec3d& point) const;
  NmVec3d ofBox(const NmVec3d& point) const;

  /// Derivative of the position in the model with respect to that in the reference's world, in the
  /// upper 3 x 3: a small step d maps to d * jacobian. On a face between bricks, that of the upper
  /// brick.
  NmMat4d jacobian(const NmVec3d& point) const;

  /// The smallest value of the Jacobian's determinant or of its reciprocal, at the points where
  /// RegNonAffineTransform measures it.
  double smallestJacobian() const;

 private:
  NmVec3d byBricks(const NmVec3d& point) const;
  NmVec3d nearestOfBox(const NmVec3d& point) const;
  NmMat4d jacobianByBricks(const NmVec3d& point) const;
};

}  // namespace voxreg
