#pragma once

#include <optional>
#include <string>

#include "files/resampled.h"

namespace host {

/// The volumes of an elastic registration, all on one grid.
struct ElasticVolumes {
  const NiftiVolume& reference;
  const NiftiVolume& model;
  NiftiVolume registered;   ///< the model
  NiftiVolume subtraction;  ///< registered model minus reference
};

ElasticVolumes elasticVolumes(const NiftiVolume& reference, const NiftiVolume& model,
                              const voxreg::Transform& transform,
                              const voxreg::ResampleOptions& options);

/// Writes a PNG file with a row for each of three slices, which pass through the position of the
/// strongest uptake outside the mask: reference, model, registered model, and the subtraction
/// images of the model before and after. The mask's outline is white. Grey values run from the 1st
/// to the 99th percentile of the reference; in a subtraction image middle grey is 0 and the range
/// is the same.
void writeElasticPicture(OutputFiles& outputs, const std::string& path,
                         const ElasticVolumes& volumes,
                         const std::optional<voxreg::ChestMask>& mask);

}  // namespace host
