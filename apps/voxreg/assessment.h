#pragma once

#include <optional>
#include <string>
#include <vector>

#include "overlap.h"

namespace host {

/// What can be said of a transform that a search has found.
struct Assessment {
  std::optional<double> metricBefore;  ///< as the files, or the user, had it
  std::optional<double> metricAfter;
  Overlap overlap;
  double smallestJacobian = 1.0;  ///< of the determinant, or of its reciprocal

  /// What a user ought to look at.
  std::vector<std::string> warnings() const;
};

/// The smaller one of a matrix's determinant and its reciprocal.
double smallestJacobianOf(const NmMat4d& matrix);

}  // namespace host
