#pragma once

#include <optional>

#include "workflow/Image.h"
#include "workflow/Masks.h"
#include "workflow/MetricOptions.h"
#include "workflow/Progress.h"
#include "workflow/Registration.h"

namespace voxreg {

/// Options of a deformable registration on a lattice of cubic B-splines.
struct DeformableOptions {
  /// Distance of the controls of the finest lattice in millimetres, at least two voxels along each
  /// axis; none: defaultSpacing.
  std::optional<double> spacing = {};

  /// Resistance to bending: a multiple of the default, which depends on metric and spacing. 0:
  /// none.
  double stiffness = 1.0;

  /// The smallest permitted change of volume, from 0 to 1: the search is repeated more stiffly
  /// until the determinant of the map's Jacobian is above it everywhere.
  double leastJacobian = 0.0;

  StartRule startRule = StartRule::best;  ///< of the affine registration that comes first

  /// Instead of the affine registration: a matrix, or any other transform, which the lattice takes
  /// over as closely as it can.
  std::optional<Transform> start = {};

  MetricOptions metric = {};
  Masks masks = {};
  std::optional<float> tolerance = {};  ///< relative gain below which the search stops; none: 1e-4
  ProgressCallback progress = {};
};

/// 16 mm, or an eighth of the reference's longest side if that is less (empirical). 16 for an empty
/// image.
double defaultSpacing(const Image& reference);

/// Finds a smooth map by exact derivatives, from coarse volumes and lattices to fine ones; its
/// transform is a lattice. Images, failures and exceptions are as with registerAffine.
Registration registerDeformable(const Image& reference, const Image& model,
                                const DeformableOptions& options = {});

}  // namespace voxreg
