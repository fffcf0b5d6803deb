#pragma once

#include <optional>
#include <string>

#include "elastic/RegElasticRegistration.h"
#include "workflow/RegisterElastic.h"
#include "workflow/bricks/shortVolume.h"
#include "workflow/chest/bodyAxes.h"
#include "workflow/search/searchProgress.h"

namespace voxreg::detail {

/// A pair in the form that the library registers, and what was measured on it.
struct ElasticPair {
  ShortVolume reference;
  ShortVolume model;
  BodyAxes body;
  std::optional<ChestMask> mask;
  std::string chestWall;
  NmBox3i roi;
  int airLevel = 1;
  int tissueLevel = 1;
  NmVec2f referenceRange;
  NmVec2f modelRange;
};

/// Searches the grids of bricks that suit the number of voxels, coarse to fine: with the library's
/// pipeline if the volumes are large enough for its levels, otherwise on the volumes themselves.
/// `elastic` holds the pair and receives the result. False for a failure or an interruption. Throws
/// Refusal for single slices and for volumes with too few voxels.
bool searchGrids(RegElasticRegistration& elastic, const ElasticPair& pair,
                 const ElasticOptions& options, SearchProgress& progress);

}  // namespace voxreg::detail
