#pragma once

#include "elastic/RegElasticRegistration.h"
#include "workflow/elastic/elasticPair.h"
#include "workflow/search/searchProgress.h"

namespace voxreg::detail {

/// Searches the grids of bricks that suit the number of voxels, coarse to fine: with the library's
/// pipeline if the volumes are large enough for its levels, otherwise on the volumes themselves.
/// `elastic` holds the pair and receives the result. False for a failure or an interruption. Throws
/// Refusal for volumes with too few voxels.
bool searchGrids(RegElasticRegistration& elastic, const ElasticPair& pair,
                 const ElasticOptions& options, SearchProgress& progress);

}  // namespace voxreg::detail
