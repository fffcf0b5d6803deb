#pragma once

#include "gridTransform.h"

namespace host {

/// The model on the reference's grid, in the model's voxel type and units: each voxel holds the
/// Lanczos sample at the place to which `transform`, between the volumes' frames, takes it. Beside
/// the grid the displacement of its nearest point holds; beyond the model stands the model's
/// smallest value.
NiftiVolume warped(const NiftiVolume& reference, const NiftiVolume& model,
                   const GridTransform::Grid& transform);

}  // namespace host
