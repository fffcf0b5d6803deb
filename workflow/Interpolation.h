#pragma once

namespace voxreg {

/// How values between voxels are computed.
enum class Interpolation {
  nearest,  ///< the nearest voxel's; of two equally near ones, the lower one's
  linear,   ///< weighted mean of the two neighbouring voxels on each axis
  cubic,    ///< convolution with Keys's cubic of 1981 for a = -1/2, over four voxels
  lanczos   ///< convolution with sinc(x) sinc(x / 3), over six voxels
};

}  // namespace voxreg
