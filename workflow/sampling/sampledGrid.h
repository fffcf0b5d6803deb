#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "foundation/NmBox.h"
#include "foundation/NmVec.h"

namespace voxreg::detail {

/// Where a volume has values: inside its box, extended by a hundredth of a voxel for the rounding
/// of positions. A flat axis, which has no voxel size, extends half a millimetre to each side; if
/// the volume to be filled is flat along it too, it is unlimited, as in a search.
class SampledGrid {
 public:
  SampledGrid(const NmVec3l& dims, const NmBox3f& box, const NmVec3l& filledDims);

  /// Converts a position in the volume's frame to voxels, from 0 to n - 1, and returns whether it
  /// has a value. A position within a thousandth of a voxel of a voxel centre is moved onto it, so
  /// nothing is interpolated if two grids agree up to rounding.
  bool locate(NmVec3d& place) const {
    return axes_[0].locate(place.x) && axes_[1].locate(place.y) && axes_[2].locate(place.z);
  }

 private:
  struct Axis {
    double min;
    double perMillimetre;  ///< voxels per millimetre; 0 on a flat axis
    double last;           ///< index of the last voxel
    double reach;  ///< extension beyond the first and the last voxel; in millimetres on a flat axis

    bool locate(double& place) const;
  };

  Axis axes_[3];
};

inline bool SampledGrid::Axis::locate(double& place) const {
  constexpr double roundingError = 1e-3;
  const double beside = place - min;
  if (!(perMillimetre > 0.0)) {
    place = 0.0;
    return std::abs(beside) <= reach;
  }
  const double voxel = beside * perMillimetre;
  if (!(voxel >= -reach && voxel <= last + reach)) return false;
  const double limited = std::clamp(voxel, 0.0, last);
  constexpr double half = 0.5;
  const auto whole = static_cast<double>(static_cast<std::int64_t>(limited + half));
  place = std::abs(limited - whole) <= roundingError ? whole : limited;
  return true;
}

}  // namespace voxreg::detail
