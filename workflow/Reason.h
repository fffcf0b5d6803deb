#pragma once

#include <string>

namespace voxreg {

/// Why a registration has found nothing.
struct Reason {
  enum class Kind {
    none,           ///< it has found something
    badImage,       ///< an empty image, or two that are incompatible
    badOptions,     ///< values that are out of range
    noInformation,  ///< the images, or their values in range, have no contrast
    noOverlap,      ///< at the result the images do not overlap, or one of them is uniform there
    failedRun       ///< the search failed, or a required feature was not found
  };

  Kind kind = Kind::none;
  std::string message;  ///< a clause for the user; empty for `none`
};

}  // namespace voxreg
