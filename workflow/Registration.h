#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "workflow/Reason.h"
#include "workflow/Start.h"
#include "workflow/Transform.h"

namespace voxreg {

/// What a registration has found, and how.
struct Registration {
  /// True where it has found something, also where it was stopped on the way.
  explicit operator bool() const { return reason.kind == Reason::Kind::none; }

  Reason reason;

  /// Reference to model. Where nothing was found it is what the search has made of it, or, where
  /// there was no search, the start that was given.
  Transform transform;

  /// Values of the metric at full resolution, without a penalty on irregular grids: where the
  /// images, or the start that was given, have the model, and at the result. None where the metric
  /// can tell nothing.
  std::optional<double> metricBefore;
  std::optional<double> metricAfter;

  double overlap = 0.0;           ///< share of the reference's voxels that the model has values for
  double smallestJacobian = 1.0;  ///< of the determinant, or of its reciprocal; 0 or less: it folds
  std::int64_t evaluations = 0;   ///< of the metric by the searches, gradients included
  std::int64_t gradients = 0;
  double seconds = 0.0;      ///< of the searches, without that for a start
  bool interrupted = false;  ///< stopped by the progress callback; the best so far
  std::vector<std::string> warnings;
  std::vector<Start> starts;         ///< those that were tried
  std::optional<Start> chosenStart;  ///< none where a start was given, or nothing was searched
};

}  // namespace voxreg
