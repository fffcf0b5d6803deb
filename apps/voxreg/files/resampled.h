#pragma once

#include "files/niftiVolume.h"

namespace host {

/// Throws HostError for a background that the model's file cannot hold.
void requireBackground(const NiftiVolume& model, const voxreg::ResampleOptions& options);

/// The model on the reference's grid, for a file of the model's data type. Throws HostError for
/// such a background too, and if a volume cannot be read.
NiftiVolume resampled(const NiftiVolume& reference, const NiftiVolume& model,
                      const voxreg::Transform& transform,
                      const voxreg::ResampleOptions& options = {});

}  // namespace host
