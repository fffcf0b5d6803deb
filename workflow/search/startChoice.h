#pragma once

#include <optional>

#include "workflow/Registration.h"
#include "workflow/search/searchProgress.h"
#include "workflow/search/searchedPair.h"
#include "workflow/search/starts.h"

namespace voxreg::detail {

inline const char* const startCaption = "Looking for a start";

/// The matrix of the given start, model world to reference world; the identity if there is none.
/// Throws Refusal for a transform that is not a matrix.
NmMat4d givenMatrix(const std::optional<Transform>& start);

/// The start that a rule chooses; `found` records how it was chosen.
NmMat4d chooseStart(StartRule rule, const SearchedPair& pair, const MetricOptions& metric,
                    SearchProgress& progress, Registration& found);

}  // namespace voxreg::detail
