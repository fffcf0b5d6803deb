#pragma once

#include <functional>
#include <optional>
#include <string>

namespace voxreg {

/// The progress of a registration.
struct Progress {
  double share;                  ///< of the work, from 0 to 1; never decreases
  std::string stage;             ///< a caption for the user
  std::optional<double> metric;  ///< at the end of the last run of a search; none before
};

/// Called with the progress on the registering thread, at every step of a search. Returning false
/// requests a stop: the registration then returns the best result so far.
using ProgressCallback = std::function<bool(const Progress&)>;

}  // namespace voxreg
