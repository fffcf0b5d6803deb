#pragma once

/// The kind of data in a volume, which decides how its coarser levels are made.
enum RegDataClass : int {
  RegDataClassOrdinary = 0,         ///< smoothed and reduced by integer factors
  RegDataClassFixedCube = 1,        ///< resampled to 128 x 128 x 128 voxels, whatever the factors
  RegDataClassFixedCubeVariant = 2  ///< treated the same
};
