#pragma once

#include "niftiVolume.h"

namespace host {

/// The model on the reference's grid, in the model's voxel type: each voxel holds the trilinear
/// sample at the place in the model that `modelToReference` (world millimetres, row vectors) sends
/// to the voxel's centre. Beyond the model stands the model's smallest value.
NiftiVolume resampled(const NiftiVolume& reference, const NiftiVolume& model,
                      const NmMat4d& modelToReference);

/// A matrix between the worlds as one between the volumes' frames, and back.
NmMat4d worldToFrames(const NmMat4d& world, const NiftiVolume& reference, const NiftiVolume& model);
NmMat4d framesToWorld(const NmMat4d& frames, const NiftiVolume& reference,
                      const NiftiVolume& model);

}  // namespace host
