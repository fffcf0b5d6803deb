#pragma once

#include <optional>
#include <vector>

#include "workflow/Image.h"
#include "workflow/MetricOptions.h"
#include "workflow/Progress.h"
#include "workflow/Registration.h"
#include "workflow/SearchOptions.h"

namespace voxreg {

/// What a registration on grids of bricks is to do.
struct NonAffineOptions {
  /// Bricks of the last grid along the axes nearest to the world's, 1 to 32; none: defaultBricks.
  std::optional<NmVec3i> bricks = {};

  /// Bricks on every axis of the grids before it, which have no more than it has; empty: a quarter
  /// and half as many.
  std::vector<int> stages = {};

  StartRule startRule = StartRule::best;
  std::optional<Transform> start = {};  ///< a matrix, in place of `startRule`
  MetricOptions metric = {};
  SearchOptions search = {};
  ProgressCallback progress = {};
};

/// A grid that suits most references: bricks of about 16 mm that hold three voxels at least on each
/// axis, counted along the axes nearest to the world's. One brick for an empty image.
NmVec3i defaultBricks(const Image& reference);

/// Finds a map on a grid of bricks: each grid on volumes as coarse as its bricks allow, and the
/// last one at full resolution in the end. Images, failures and exceptions are as with
/// registerAffine.
Registration registerNonAffine(const Image& reference, const Image& model,
                               const NonAffineOptions& options = {});

}  // namespace voxreg
