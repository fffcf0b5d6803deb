#pragma once

#include "commands/displacementError.h"
#include "phantoms/chestVolumes.h"

namespace host {

/// The tissue in front of the chest wall at every second voxel of a volume on each axis, and its
/// position after the motion.
std::vector<PointPair> chestTruth(const ChestPhantom& phantom, const ChestMotion& motion,
                                  const NiftiVolume& volume);

/// How the lesion appears in a subtraction image.
struct LesionContrast {
  double uptake = 0.0;    ///< mean value inside the lesion
  double residual = 0.0;  ///< mean absolute value from 3 to 15 mm around it
};

/// For a subtraction image on the grid of the chest at rest.
LesionContrast lesionContrast(const ChestPhantom& phantom, const NiftiVolume& subtraction);

}  // namespace host
