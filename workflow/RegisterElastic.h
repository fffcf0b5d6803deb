#pragma once

#include <optional>
#include <string>

#include "foundation/NmBox.h"
#include "workflow/ChestMask.h"
#include "workflow/Image.h"
#include "workflow/MetricOptions.h"
#include "workflow/Progress.h"
#include "workflow/Registration.h"

namespace voxreg {

/// What of the reference the elastic pipeline leaves out.
enum class Masking {
  chests,    ///< what lies behind the wall of a chest, where the image shows one
  required,  ///< what lies behind any wall that is found; without one the registration fails
  none
};

/// What an elastic registration is to do.
struct ElasticOptions {
  Masking masking = Masking::chests;
  std::optional<IntensityRange> levels = {};  ///< values of air and of the darkest tissue of the
                                              ///< reference; none: measured
  std::optional<NmBox3i> region = {};  ///< first and last voxel to cover along the reference's
                                       ///< axes; none: found with the mask
  int maxBricks = 12;                  ///< from left to right at the end, 12 to 40
  Metric metric = Metric::correlationRatio;  ///< or normalizedMutualInformation, which takes ten
                                             ///< times as long and needs many voxels
  ProgressCallback progress = {};
};

/// The result of the elastic pipeline. Beyond its grid the displacement of its nearest point holds.
struct ElasticRegistration : Registration {
  std::optional<ChestMask> mask;  ///< in the frame of the reference, axes nearest to the world's
  std::string chestWall = "not masked";  ///< whether there is a mask, and why
};

/// Registers two images of one patient on one voxel grid, before and after contrast agent say, by
/// grids of bricks from coarse to fine. Images on different grids, single slices and images of
/// fewer than 64 voxels are refused; failures and exceptions are otherwise as with registerAffine.
ElasticRegistration registerElastic(const Image& reference, const Image& model,
                                    const ElasticOptions& options = {});

}  // namespace voxreg
