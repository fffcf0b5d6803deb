#pragma once

#include "bodyAxes.h"
#include "elasticRegistration.h"
#include "shortVolume.h"

namespace host {

/// A pair as the library registers it, and what has been measured of it.
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

/// Searches the grids of bricks that suit the number of voxels, coarse to fine: by the library's
/// pipeline where that has levels to begin with, on the volumes themselves where they are small.
/// `elastic` holds the pair, and receives the result. False for a failure or an interruption.
/// Throws HostError for single slices and for volumes of too few voxels.
bool searchBricks(RegElasticRegistration& elastic, const ElasticPair& pair,
                  const ElasticSettings& settings, InterruptibleProgress& progress);

}  // namespace host
