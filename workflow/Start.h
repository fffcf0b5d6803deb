#pragma once

#include <optional>

#include "foundation/NmMat4d.h"

namespace voxreg {

/// How a registration finds where to begin.
enum class StartRule {
  best,    ///< the one of the others from which a short coarse search gets furthest
  header,  ///< as the images lie in the world
  boxes,   ///< the middles of the images' boxes on each other
  masses   ///< the centres of mass on each other
};

/// Where a registration may begin.
struct Start {
  StartRule rule;
  NmMat4d matrix;                      ///< model world to reference world, row vectors
  std::optional<double> reached = {};  ///< by a short rigid search from there, above what unrelated
                                       ///< images give
};

}  // namespace voxreg
