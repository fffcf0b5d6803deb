#pragma once

namespace voxreg {

/// How a value between voxels comes about.
enum class Interpolation {
  nearest,  ///< the nearest voxel's; the lower one's of two that are equally near
  linear,   ///< a weighted mean of the two voxels around, on each axis
  cubic,    ///< convolution with Keys's cubic of 1981 for a = -1/2, over four voxels
  lanczos   ///< convolution with sinc(x) sinc(x / 3), over six voxels
};

}  // namespace voxreg
