#pragma once

#include <optional>
#include <string>
#include <vector>

#include "ChestMask.h"
#include "InterruptibleProgress.h"
#include "SearchOutcome.h"
#include "gridTransform.h"

namespace host {

/// What an elastic registration is to do.
struct ElasticSettings {
  enum class Masking { chests, required, none };

  Masking masking = Masking::chests;
  std::vector<float> levels;   ///< values of air and of the darkest tissue; empty: measured
  std::optional<NmBox3i> roi;  ///< voxels of the frame; none: found with the mask
  int maxBricks = 12;          ///< along the body's x axis
  std::string metric = "cr";   ///< or nmi, which takes ten times as long and needs fine grids
};

struct ElasticResult {
  GridTransform::Grid transform;  ///< reference's frame to model's frame
  std::optional<ChestMask> mask;
  SearchOutcome search;
  std::string lack;  ///< why nothing could be registered; empty where something could
  std::string chestWall = "not masked";  ///< whether there is a mask, and why

  /// Beside the grid the displacement of its nearest point holds.
  GridTransform inWorld(const NiftiVolume& reference, const NiftiVolume& model) const {
    return GridTransform::fromFrames(transform, reference, model,
                                     GridTransform::Beyond::displacement);
  }
};

/// Registers two volumes on one grid, coarse to fine, without what lies behind a chest's wall. An
/// interruption leaves what was reached, and a pair without intensities the model where it is.
/// Throws HostError for volumes on different grids, single slices and volumes of too few voxels.
ElasticResult registerElastic(const NiftiVolume& reference, const NiftiVolume& model,
                              const ElasticSettings& settings, InterruptibleProgress& progress);

}  // namespace host
