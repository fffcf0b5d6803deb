#pragma once

#include <optional>

#include "foundation/NmMat4d.h"

namespace voxreg {

/// How a registration chooses its start.
enum class StartRule {
  best,    ///< whichever of the others gets furthest in a short coarse search
  header,  ///< the images' positions in the world
  boxes,   ///< aligns the centres of the images' boxes
  masses   ///< aligns the centres of mass
};

/// A possible start of a registration.
struct Start {
  StartRule rule;
  NmMat4d matrix;                      ///< model world to reference world, row vectors
  std::optional<double> reached = {};  ///< by a short rigid search from there, above what unrelated
                                       ///< images give
};

}  // namespace voxreg
