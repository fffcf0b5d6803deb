#pragma once

#include "variational/pyramid/levelVolume.h"

namespace voxreg::detail {

/// The volume with a voxel between any two, by cubic B-spline interpolation (P. Thevenaz, T. Blu
/// and M. Unser, Interpolation revisited, 2000), so that trilinear samples of the result blur half
/// as far as those of the volume. Lines of fewer than four voxels stay as they are. Around voxels
/// that do not count the result is NaN, as between them and their neighbours.
LevelVolume doubledVolume(const LevelVolume& volume);

}  // namespace voxreg::detail
