#pragma once

#include "files/niftiVolume.h"

namespace host {

/// `model` minus `reference`, voxel by voxel, on their common grid.
NiftiVolume subtraction(const NiftiVolume& model, const NiftiVolume& reference);

}  // namespace host
