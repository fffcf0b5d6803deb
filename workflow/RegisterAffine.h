#pragma once

#include <optional>
#include <vector>

#include "workflow/Image.h"
#include "workflow/Masks.h"
#include "workflow/MetricOptions.h"
#include "workflow/Progress.h"
#include "workflow/Registration.h"
#include "workflow/SearchOptions.h"

namespace voxreg {

/// Options of a rigid or affine registration.
struct AffineOptions {
  int degreesOfFreedom = 12;  ///< translation 3, rigid 6, one scale 7, three 9, affine 12

  /// Degrees of freedom of successive searches on each level, from 3, 6, 7 and 12, instead of
  /// `degreesOfFreedom`. Empty: rigid first, then `degreesOfFreedom`.
  std::vector<int> stages = {};

  StartRule startRule = StartRule::best;
  std::optional<Transform> start = {};  ///< a matrix, instead of `startRule`
  MetricOptions metric = {};
  Masks masks = {};  ///< for the search by exact derivatives only
  SearchOptions search = {};
  LevelOptions levels = {};
  ProgressCallback progress = {};
};

/// Finds the matrix that maps the model onto the reference, from coarse volumes to full resolution.
/// Images may have any position and axes in any direction; voxels that are not finite count as
/// missing. Never throws because of its arguments. Throws NmMemoryException if memory runs out, and
/// passes on exceptions of the callback.
Registration registerAffine(const Image& reference, const Image& model,
                            const AffineOptions& options = {});

}  // namespace voxreg
