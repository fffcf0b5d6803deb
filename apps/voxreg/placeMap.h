#pragma once

#include <functional>

#include "gridTransform.h"
#include "niftiVolume.h"

namespace host {

/// Tells where a place of the reference is found in the model, each in its volume's own frame.
using PlaceMap = std::function<NmVec3f(const NmVec3f& place)>;

/// By a matrix from model world to reference world.
PlaceMap placeMap(const NmMat4d& modelToReference, const NiftiVolume& reference,
                  const NiftiVolume& model);

/// By a grid of bricks.
PlaceMap placeMap(const GridTransform& transform, const NiftiVolume& reference,
                  const NiftiVolume& model);

/// A matrix between the worlds as one between the volumes' frames, and back.
NmMat4d worldToFrames(const NmMat4d& world, const NiftiVolume& reference, const NiftiVolume& model);
NmMat4d framesToWorld(const NmMat4d& frames, const NiftiVolume& reference,
                      const NiftiVolume& model);

}  // namespace host
