#pragma once

#include "variational/search/matrixSearch.h"
#include "workflow/search/affineRuns.h"
#include "workflow/search/countingVoxels.h"

namespace voxreg::detail {

/// The comparison that the options ask for.
Comparison comparisonOf(const MetricOptions& metric);

/// Adds the counts and the time of a search to a result.
void addSummary(const SearchSummary& summary, Registration& found);

/// The search for a matrix by exact derivatives, between the frames of a pair.
MatrixSearch matrixSearch(const SearchedPair& pair, const CountingPair& counting,
                          const AffineTask& task);

/// Runs it. A result that is in doubt has to be confirmed (confirmation.h). Otherwise as
/// searchMatrix.
NmMat4d searchMatrixByDerivatives(const SearchedPair& pair, const CountingPair& counting,
                                  const AffineTask& task, SearchProgress& progress,
                                  Registration& found);

}  // namespace voxreg::detail
