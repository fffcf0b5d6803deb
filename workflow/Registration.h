#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "workflow/Reason.h"
#include "workflow/Start.h"
#include "workflow/Transform.h"

namespace voxreg {

/// The result of a registration, and how it was found.
struct Registration {
  /// True if something was found, also if the search was stopped.
  explicit operator bool() const { return reason.kind == Reason::Kind::none; }

  Reason reason;

  /// Reference to model. If nothing was found, the search's last result or, if there was no search,
  /// the given start.
  Transform transform;

  /// Values of the metric at full resolution, without the penalty on irregular grids: with the
  /// images as given or at the given start, and at the result. None if the metric has no meaningful
  /// value.
  std::optional<double> metricBefore;
  std::optional<double> metricAfter;

  double overlap = 0.0;  ///< share of the reference's voxels at which the model has a value
  double smallestJacobian = 1.0;  ///< of the determinant or its reciprocal; 0 or less: it folds
  std::int64_t evaluations = 0;   ///< of the metric by the searches, gradients included
  std::int64_t gradients = 0;
  double seconds = 0.0;      ///< of the searches, without the search for a start
  bool interrupted = false;  ///< stopped by the progress callback; holds the best result so far
  bool startIsKept = false;  ///< the searches found nothing to rely on; a warning says so
  std::vector<std::string> warnings;
  std::vector<Start> starts;         ///< the starts that were tried
  std::optional<Start> chosenStart;  ///< none if a start was given or there was no search
};

}  // namespace voxreg
