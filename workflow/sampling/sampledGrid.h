#pragma once

#include "foundation/NmBox.h"
#include "foundation/NmVec.h"

namespace voxreg::detail {

/// Where a volume has values: within its box, with a hundredth of a voxel around it for the
/// rounding of places. A flat axis, which has no voxel to measure by, reaches half a millimetre to
/// each side; where the volume that is filled is flat on it too, it has no end, as in a search.
class SampledGrid {
 public:
  SampledGrid(const NmVec3l& dims, const NmBox3f& box, const NmVec3l& filledDims);

  /// Turns a place in the volume's frame into one in voxels, from 0 to n - 1, and tells whether it
  /// has a value. A place within a thousandth of a voxel of a voxel's own becomes that, so that
  /// nothing is interpolated where two grids agree up to rounding.
  bool locate(NmVec3d& place) const {
    return axes_[0].locate(place.x) && axes_[1].locate(place.y) && axes_[2].locate(place.z);
  }

 private:
  struct Axis {
    double min;
    double perMillimetre;  ///< voxels; 0 on a flat axis
    double last;           ///< the last voxel
    double reach;          ///< beyond the first and the last one; in millimetres on a flat axis

    bool locate(double& place) const;
  };

  Axis axes_[3];
};

}  // namespace voxreg::detail
