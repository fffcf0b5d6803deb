#pragma once

#include <optional>
#include <vector>

#include "workflow/Image.h"
#include "workflow/MetricOptions.h"
#include "workflow/Progress.h"
#include "workflow/Registration.h"
#include "workflow/SearchOptions.h"

namespace voxreg {

/// Options of a registration on grids of bricks.
struct NonAffineOptions {
  /// Bricks of the last grid along the axes closest to the world's, 1 to 32; none: defaultBricks.
  std::optional<NmVec3i> bricks = {};

  /// Bricks on every axis of the preceding grids, at most as many as in the last one; empty: a
  /// quarter and half as many.
  std::vector<int> stages = {};

  StartRule startRule = StartRule::best;
  std::optional<Transform> start = {};  ///< a matrix, instead of `startRule`
  MetricOptions metric = {};
  SearchOptions search = {};
  ProgressCallback progress = {};
};

/// A grid that suits most references: bricks of about 16 mm (empirical) and at least three voxels
/// on each axis, along the axes closest to the world's. One brick for an empty image.
NmVec3i defaultBricks(const Image& reference);

/// Finds a map on a grid of bricks: each grid on volumes as coarse as its bricks allow, and the
/// last one at full resolution. Images, failures and exceptions are as with registerAffine.
Registration registerNonAffine(const Image& reference, const Image& model,
                               const NonAffineOptions& options = {});

}  // namespace voxreg
