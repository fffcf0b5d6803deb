#pragma once

#include <optional>
#include <vector>

#include "workflow/Image.h"
#include "workflow/MetricOptions.h"
#include "workflow/Progress.h"
#include "workflow/Registration.h"
#include "workflow/SearchOptions.h"

namespace voxreg {

/// What a rigid or affine registration is to do.
struct AffineOptions {
  int degreesOfFreedom = 12;  ///< translation 3, rigid 6, one scale 7, three 9, affine 12

  /// Degrees of freedom of several searches on each level, of 3, 6, 7 and 12, in place of
  /// `degreesOfFreedom`. Empty: rigid first, then `degreesOfFreedom`.
  std::vector<int> stages = {};

  StartRule startRule = StartRule::best;
  std::optional<Transform> start = {};  ///< a matrix, in place of `startRule`
  MetricOptions metric = {};
  SearchOptions search = {};
  LevelOptions levels = {};
  ProgressCallback progress = {};
};

/// Finds the matrix that brings the model onto the reference: coarse volumes first, and full
/// resolution in the end. Images may lie anywhere and have axes of any direction; voxels that are
/// not finite count as missing. Never throws for what it is given; memory that runs out shows as
/// NmMemoryException, and what the callback throws passes through.
Registration registerAffine(const Image& reference, const Image& model,
                            const AffineOptions& options = {});

}  // namespace voxreg
