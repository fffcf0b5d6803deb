#pragma once

#include <cstdint>

#include "foundation/NmDArray.h"
#include "foundation/NmVec.h"

namespace voxreg::detail {

/// The part of a profile, ordered from the outside in, in which extrema are searched for. Neither
/// voxel size nor origin may be NaN.
struct ProfileSection {
  const float* values = nullptr;
  std::int64_t size = 0;   ///< of the whole profile
  std::int64_t skin = -1;  ///< the search starts after it; -1 if there is none
  std::int64_t stop = 0;   ///< last position of an extremum, if the profile is that long
  std::int64_t end = 0;    ///< last value with which an extremum is compared, likewise
  float tolerance = 0.0f;  ///< a neighbour that differs by more ends the comparison
  float voxelSize = 0.0f;  ///< along the profile
  float origin = 0.0f;     ///< position of index 0

  float position(std::int64_t index) const {
    return static_cast<float>(index) * voxelSize + origin;
  }
};

/// Minima and maxima of a profile by position: x is the position, y the value.
struct ProfileExtrema {
  NmDArray<NmVec2f> minima;
  NmDArray<NmVec2f> maxima;
};

/// The extrema from which the layers behind the skin can be told, each logged in one line. The
/// sequence begins with a maximum if both kinds occur; low and trailing maxima and trailing minima
/// are left out.
ProfileExtrema findExtrema(const ProfileSection& section);

/// Finds the position of the chest wall from the pattern of extrema; may remove maxima. Returns
/// false, with `chestWall` unchanged, if there is neither a maximum nor skin.
bool findChestWall(const ProfileSection& section, ProfileExtrema& extrema, float& chestWall);

}  // namespace voxreg::detail
