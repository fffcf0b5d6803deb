#pragma once

#include <optional>

#include "workflow/Image.h"
#include "workflow/Interpolation.h"
#include "workflow/Transform.h"

namespace voxreg {

/// How the values of a resampled image are computed.
struct ResampleOptions {
  Interpolation interpolation = Interpolation::linear;
  /// The value where the model has none. Default: 0 with `nearest`, since labels use 0 for
  /// background, and otherwise the model's smallest finite value, which is what an image shows
  /// outside the patient (in CT that is not 0).
  std::optional<double> background = {};
};

/// The background that the options specify.
double backgroundFor(const Image& model, const ResampleOptions& options);

/// Whether the model's voxels can hold a value exactly.
bool canHold(const Image& model, double value);

/// The model on the reference's grid, in the model's voxel type: each voxel holds the model's value
/// at the position to which the transform maps the voxel. Integers are rounded to the nearest and
/// saturate; values that are not finite propagate into every value computed from them. Returns the
/// empty image if either image is empty or cannot be read, or if the model's voxels cannot hold the
/// background. Throws NmMemoryException.
Image resample(const Image& model, const Transform& transform, const Image& reference,
               const ResampleOptions& options = {});

}  // namespace voxreg
