#pragma once

#include <string>

namespace voxreg {

/// Why a registration has found nothing.
struct Reason {
  enum class Kind {
    none,           ///< it has found something
    badImage,       ///< an empty image, or two that do not go together
    badOptions,     ///< values that no run can take
    noInformation,  ///< nothing in the images, or in the values that count, tells places apart
    noOverlap,      ///< at the result the images have nothing in common, or nothing but one value
    failedRun       ///< the search failed, or what was insisted on was not found
  };

  Kind kind = Kind::none;
  std::string message;  ///< a clause for the user; empty for `none`
};

}  // namespace voxreg
