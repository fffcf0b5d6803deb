#pragma once

#include <optional>
#include <string>

#include "workflow/RegisterElastic.h"
#include "workflow/chest/bodyAxes.h"
#include "workflow/elastic/shortVolume.h"
#include "workflow/search/searchedPair.h"

class RegElasticRegistration;

namespace voxreg::detail {

/// A pair in the form that the elastic pipeline takes, and what was measured on it.
struct ElasticPair {
  ShortVolume reference;
  ShortVolume model;
  BodyAxes body;
  std::optional<ChestMask> mask;
  std::string chestWall;
  NmBox3i roi;  ///< first and last voxel to cover; empty: all
  int airLevel = 1;
  int tissueLevel = 1;
  NmVec2f referenceRange;  ///< stored values
  NmVec2f modelRange;
};

/// Measures the pair, which `elastic` then holds. `original` is the reference on whose axes the
/// options give a region. Throws Refusal for single slices, for regions of fewer than 64 voxels,
/// and where a requested wall or all intensities are missing.
ElasticPair elasticPair(RegElasticRegistration& elastic, const SearchedPair& images,
                        const Image& original, const ElasticOptions& options);

}  // namespace voxreg::detail
