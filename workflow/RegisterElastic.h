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

/// The part of the reference that the elastic pipeline masks.
enum class Masking {
  chests,    ///< the inside of the chest wall, if the image shows a chest
  required,  ///< the inside of any wall that is found; without one the registration fails
  none
};

/// How the elastic pipeline searches.
enum class ElasticEngine {
  bricks,      ///< grids of bricks on the pipeline's levels, with derivatives by differences
  variational  ///< a lattice of cubic B-splines, by exact derivatives
};

/// Options of an elastic registration.
struct ElasticOptions {
  ElasticEngine engine = ElasticEngine::variational;
  Masking masking = Masking::chests;
  std::optional<IntensityRange> levels = {};  ///< values of air and of the darkest tissue of the
                                              ///< reference; none: measured
  std::optional<NmBox3i> region = {};  ///< first and last voxel to cover along the reference's
                                       ///< axes; none: found with the mask
  std::optional<int> maxBricks = {};   ///< engine with bricks: from left to right in the last
                                       ///< grid, 12 to 40; none: 12
  std::optional<double> spacing = {};  ///< variational engine: of the lattice's controls, mm; none:
                                       ///< 24, or an eighth of the longest side if that is less
  std::optional<double> stiffness = {};  ///< variational engine: resistance to bending, a multiple
                                         ///< of the default; 0: none
  Metric metric = Metric::correlationRatio;  ///< or normalizedMutualInformation, which takes two
                                             ///< (with bricks ten) times as long and needs many
                                             ///< voxels
  ProgressCallback progress = {};
};

/// The result of the elastic pipeline: a grid of bricks or a lattice, outside of which the
/// displacement of its nearest point applies.
struct ElasticRegistration : Registration {
  std::optional<ChestMask> mask;  ///< in the frame of the reference, axes closest to the world's
  std::string chestWall = "not masked";  ///< whether there is a mask, and why
};

/// Registers two images of one patient on one voxel grid, such as before and after contrast agent,
/// from coarse to fine. Rejects images on different grids, single slices and
/// images of fewer than 64 voxels. Failures and exceptions are otherwise as with registerAffine.
ElasticRegistration registerElastic(const Image& reference, const Image& model,
                                    const ElasticOptions& options = {});

}  // namespace voxreg
