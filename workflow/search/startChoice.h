#pragma once

#include <optional>

#include "workflow/Registration.h"
#include "workflow/search/searchProgress.h"
#include "workflow/search/searchedPair.h"
#include "workflow/search/starts.h"

namespace voxreg::detail {

inline const char* const startCaption = "Looking for a start";

/// The matrix, model world to reference world, of the start that was given; the identity without
/// one. Throws Refusal for a transform that is no matrix.
NmMat4d givenMatrix(const std::optional<Transform>& start);

/// The one by which a rule begins; `found` tells how it was chosen.
NmMat4d chooseStart(StartRule rule, const SearchedPair& pair, const MetricOptions& metric,
                    SearchProgress& progress, Registration& found);

}  // namespace voxreg::detail
