#pragma once

#include <optional>

#include "interpolation.h"
#include "placeMap.h"

namespace host {

/// How the values of a resampled volume come about.
struct Sampling {
  Interpolation interpolation = Interpolation::linear;
  std::optional<double> background;  ///< where the model has no value; none: what suits it
};

/// Beyond labels there is no structure: 0. Beyond an image there is what it shows beside the
/// patient: its smallest finite value, which 0 is not in a CT.
double backgroundFor(const NiftiVolume& model, const Sampling& sampling);

/// Throws HostError for a background that the model's voxels cannot hold.
void requireBackground(const NiftiVolume& model, const Sampling& sampling);

/// The model on the reference's grid, in the model's voxel type: each voxel holds the value at the
/// place in the model that the map tells. Integers take the nearest whole number and saturate. What
/// is not finite goes on into the values that it has a share in.
NiftiVolume resampled(const NiftiVolume& reference, const NiftiVolume& model, const PlaceMap& map,
                      const Sampling& sampling = {});

/// By a matrix from model world to reference world.
NiftiVolume resampled(const NiftiVolume& reference, const NiftiVolume& model,
                      const NmMat4d& modelToReference, const Sampling& sampling = {});

}  // namespace host
