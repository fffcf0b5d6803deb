#pragma once

#include "foundation/NmMat4d.h"
#include "foundation/NmVec.h"
#include "transforms/RegNonAffineTransform.h"

namespace voxreg {

/// A map on a grid of bricks, from places of the reference's world to those of the model's that
/// show the same. Within a brick it is trilinear between the eight corners.
struct BrickGrid {
  using Grid = RegNonAffineTransform::NonAffineTransformDescriptor;

  /// What holds beyond the box: the outermost bricks, or the displacement of its nearest point.
  enum class Beyond { bricks, displacement };

  Grid grid;           ///< the box in a frame of its own, the vertices in the model's world
  NmMat4d boxToWorld;  ///< from that frame to the reference's world, row vectors
  Beyond beyond = Beyond::bricks;

  /// Whether there are 1 to 32 bricks on each axis, their vertices, and a box with a volume.
  bool isValid() const;

  /// Where a place of the reference's world, or one of the box's frame, is found in the model's
  /// world. NaN for a grid that is not valid.
  NmVec3d ofWorld(const NmVec3d& point) const;
  NmVec3d ofBox(const NmVec3d& point) const;

  /// How the place in the model changes with that in the reference's world, in the upper 3 x 3: a
  /// small step d goes to d * jacobian. Between bricks that of the one above.
  NmMat4d jacobian(const NmVec3d& point) const;

  /// The smallest value of the Jacobian's determinant, or of its reciprocal, at the points where
  /// RegNonAffineTransform measures it.
  double smallestJacobian() const;

 private:
  NmVec3d byBricks(const NmVec3d& point) const;
  NmVec3d nearestOfBox(const NmVec3d& point) const;
  NmMat4d jacobianByBricks(const NmVec3d& point) const;
};

}  // namespace voxreg
