#pragma once

#include <functional>
#include <optional>
#include <string>

namespace voxreg {

/// How far a registration has come.
struct Progress {
  double share;                  ///< of the work, from 0 to 1; never falls
  std::string stage;             ///< a caption for the user
  std::optional<double> metric;  ///< at the end of the last run of a search; none before that
};

/// Is told the progress on the thread that registers, at every step of a search. False asks to
/// stop: the registration then returns the best that it has reached.
using ProgressCallback = std::function<bool(const Progress&)>;

}  // namespace voxreg
