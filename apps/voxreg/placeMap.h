#pragma once

#include <functional>

#include "gridTransform.h"
#include "niftiVolume.h"

namespace host {

/// Tells where places of the reference are found in the model, each in its volume's own frame.
class PlaceMap {
 public:
  /// Finds `n` places at once.
  using Many = std::function<void(const NmVec3d* places, long n, NmVec3d* found)>;

  explicit PlaceMap(Many many) : many_(std::move(many)) {}

  void operator()(const NmVec3d* places, long n, NmVec3d* found) const { many_(places, n, found); }
  NmVec3f operator()(const NmVec3f& place) const;

 private:
  Many many_;
};

/// By a matrix from model world to reference world.
PlaceMap placeMap(const NmMat4d& modelToReference, const NiftiVolume& reference,
                  const NiftiVolume& model);

/// By a grid of bricks.
PlaceMap placeMap(const GridTransform& transform, const NiftiVolume& reference,
                  const NiftiVolume& model);

/// Every place is found where it is.
PlaceMap samePlaces();

/// A matrix between the worlds as one between the volumes' frames, and back.
NmMat4d worldToFrames(const NmMat4d& world, const NiftiVolume& reference, const NiftiVolume& model);
NmMat4d framesToWorld(const NmMat4d& frames, const NiftiVolume& reference,
                      const NiftiVolume& model);

}  // namespace host
