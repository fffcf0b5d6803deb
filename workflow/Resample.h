#pragma once

#include <optional>

#include "workflow/Image.h"
#include "workflow/Interpolation.h"
#include "workflow/Transform.h"

namespace voxreg {

/// How the values of a resampled image come about.
struct ResampleOptions {
  Interpolation interpolation = Interpolation::linear;
  /// The value where the model has none. By default 0 with `nearest`, since labels call what is no
  /// structure 0, and otherwise the model's smallest finite value: what an image shows beside the
  /// patient, which 0 is not in a CT.
  std::optional<double> background = {};
};

/// The background that the options mean.
double backgroundFor(const Image& model, const ResampleOptions& options);

/// Whether the model's voxels can hold a value as it is.
bool canHold(const Image& model, double value);

/// The model on the reference's grid, in the model's voxel type: each voxel holds the model's value
/// at the place where the transform finds the voxel's. Integers take the nearest whole number and
/// saturate; what is not finite goes on into the values that it has a share in. The empty image
/// where one of the two is empty or cannot be read, or the model's voxels cannot hold the
/// background. Throws NmMemoryException.
Image resample(const Image& model, const Transform& transform, const Image& reference,
               const ResampleOptions& options = {});

}  // namespace voxreg
