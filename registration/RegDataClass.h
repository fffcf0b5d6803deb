#pragma once

/// What a volume holds, which decides how its coarser levels are made.
enum RegDataClass : int {
  RegDataClassOrdinary = 0,         ///< smoothed and reduced by whole factors
  RegDataClassFixedCube = 1,        ///< brought to 128 x 128 x 128 voxels, whatever the factors
  RegDataClassFixedCubeVariant = 2  ///< treated alike
};
