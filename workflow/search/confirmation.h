#pragma once

#include "workflow/Registration.h"
#include "workflow/search/affineRuns.h"
#include "workflow/search/countingVoxels.h"

namespace voxreg::detail {

/// Whether a value of the metric, over the samples of a search, is so low that the maximum may be
/// one of chance: volumes that share little information have many.
bool isDoubtful(const MetricOptions& metric, double value);

/// A matrix that the same search finds again when the volumes exchange their roles (inverse
/// consistency, after G. E. Christensen and H. J. Johnson, Consistent image registration, 2001):
/// `matrix`, the result of `task`, or one of fewer degrees of freedom, or the start. `found`
/// receives a warning unless it is `matrix`. An interruption leaves `matrix`.
NmMat4d confirmedMatrix(const NmMat4d& matrix, const SearchedPair& pair,
                        const CountingPair& counting, AffineTask task, SearchProgress& progress,
                        Registration& found);

}  // namespace voxreg::detail
