#pragma once

#include <cstdint>

#include "foundation/NmDArray.h"
#include "foundation/NmVec.h"

namespace voxreg::detail {

/// The part of a profile, ordered from the outside in, that is searched for extrema. Neither voxel
/// size nor origin may be NaN.
struct ProfileSection {
  const float* values = nullptr;
  std::int64_t size = 0;   ///< of the whole profile
  std::int64_t skin = -1;  ///< the search starts behind it; -1 where there is none
  std::int64_t stop = 0;   ///< last place of an extremum, as far as the profile goes
  std::int64_t end = 0;    ///< last value that an extremum is compared with, likewise
  float tolerance = 0.0f;  ///< a neighbour farther off than this ends the comparison
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

/// The extrema that can tell the layers behind the skin, with a line in the log for each. The
/// sequence begins with a maximum where both kinds occur; low and trailing maxima and trailing
/// minima are left out.
ProfileExtrema findExtrema(const ProfileSection& section);

/// Finds the position of the chest wall from the pattern of extrema, the maxima of which may become
/// fewer. False, `chestWall` untouched, where there is neither a maximum nor skin.
bool findChestWall(const ProfileSection& section, ProfileExtrema& extrema, float& chestWall);

}  // namespace voxreg::detail
