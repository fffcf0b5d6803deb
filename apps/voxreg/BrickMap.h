#pragma once

#include "niftiVolume.h"

namespace host {

using BrickTransform = RegNonAffineTransform::NonAffineTransformDescriptor;

/// The map of a grid of bricks, from places in the reference's frame to places in the model's.
/// Beside the grid the displacement of its nearest point holds.
class BrickMap {
 public:
  /// A transform without vertices is the identity.
  explicit BrickMap(const BrickTransform& transform) : transform_(transform) {}

  NmVec3d at(const NmVec3d& place) const;

 private:
  const BrickTransform& transform_;
};

/// The identity on one brick.
BrickTransform identityOver(const NmBox3f& box);

/// The model on the reference's grid, in the model's voxel type and units: each voxel holds the
/// Lanczos sample at the place to which the map takes it. Beyond the model stands the model's
/// smallest value.
NiftiVolume warped(const NiftiVolume& reference, const NiftiVolume& model,
                   const BrickTransform& transform);

}  // namespace host
