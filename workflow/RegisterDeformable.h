#pragma once

#include <optional>

#include "workflow/Image.h"
#include "workflow/Masks.h"
#include "workflow/MetricOptions.h"
#include "workflow/Progress.h"
#include "workflow/Registration.h"

namespace voxreg {

/// How much detail a deformable registration adds to its lattice: large deformations that raise the
/// correlation in small windows, for the anatomy of two people. On smooth warps of one body it adds
/// noise.
enum class Detail {
  none,    ///< the transform is a lattice
  fast,    ///< a field of voxels of about 2 mm
  normal,  ///< a field of the reference's voxels
  fine     ///< the same with more iterations and less smoothing
};

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

  /// With detail, the lattice is left at voxels of about 2 mm and bends three times as easily; the
  /// transform is a field.
  Detail detail = Detail::none;

  StartRule startRule = StartRule::best;  ///< of the affine registration that comes first

  /// Instead of the affine registration: a matrix, or any other transform, which the lattice takes
  /// over as closely as it can.
  std::optional<Transform> start = {};

  MetricOptions metric = {};
  Masks masks = {};
  std::optional<float> tolerance = {};  ///< relative gain below which the search stops; none: 1e-4
  ProgressCallback progress = {};
};

/// 16 mm, 10 mm before detail, or an eighth of the reference's longest side if that is less
/// (empirical). For an empty image, the first or second.
double defaultSpacing(const Image& reference, Detail detail = Detail::none);

/// Finds a smooth map by exact derivatives, from coarse volumes and lattices to fine ones; its
/// transform is a lattice or, with detail, a field. If there is no more detail than a lattice
/// shows, it is the lattice, and a warning says so. Images, failures and exceptions are as with
/// registerAffine.
Registration registerDeformable(const Image& reference, const Image& model,
                                const DeformableOptions& options = {});

}  // namespace voxreg
