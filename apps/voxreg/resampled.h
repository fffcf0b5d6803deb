#pragma once

#include "placeMap.h"

namespace host {

/// The model on the reference's grid, in the model's voxel type: each voxel holds the trilinear
/// sample at the place in the model that the map tells. Beyond the model stands the model's
/// smallest value.
NiftiVolume resampled(const NiftiVolume& reference, const NiftiVolume& model, const PlaceMap& map);

/// By a matrix from model world to reference world.
NiftiVolume resampled(const NiftiVolume& reference, const NiftiVolume& model,
                      const NmMat4d& modelToReference);

}  // namespace host
