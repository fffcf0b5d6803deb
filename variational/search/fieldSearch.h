#pragma once

#include <vector>

#include "foundation/NmMat4d.h"
#include "variational/ControlLattice.h"
#include "variational/fields/voxelField.h"
#include "variational/pyramid/levelVolume.h"
#include "variational/search/searchSummary.h"

class NmProgressInterface;

namespace voxreg::detail {

/// A displacement of the voxels of a grid in the reference's frame, before a matrix.
struct FoundField {
  VolumeFrame frame;
  VoxelField field;
  double smallestDeterminant;  ///< one-sided, of the field alone
  bool hasDetail;              ///< whether a level has found more than its start
};

/// The search for a large deformation with fine detail: updates that raise the local correlation
/// are smoothed, composed with the field, and the field is smoothed in turn (J.-P. Thirion, Image
/// matching as a diffusion process: an analogy with Maxwell's demons, 1998; T. Vercauteren et al.,
/// Diffeomorphic demons, 2009; B. B. Avants et al., Symmetric diffeomorphic image registration with
/// cross-correlation, 2008). A reference position x maps to matrix(x + u(x)).
struct FieldSearch {
  /// Iterations on volumes of a reduced resolution.
  struct Level {
    int reduction;  ///< of the finest voxel size, as with levelFactors
    int iterations;
  };

  SearchVolume reference;
  SearchVolume model;
  NmMat4d referenceToModel;  ///< from frame to frame, row vectors
  ControlLattice start;      ///< displacements to start with, model's frame, after the matrix

  std::vector<Level> levels = {{2, 20}, {1, 10}};  ///< coarse to fine; at least one
  double fluidSigma = 1.7;                         ///< of the Gaussian that smooths updates, voxels
  double elasticSigma = 0.5;                       ///< of the one that smooths the field, voxels
  double largestStep = 1.0;        ///< length of the longest vector of an update, voxels
  double leastDeterminant = 0.03;  ///< one-sided; fields are repaired at the end of a level
  bool nearBodyOnly = true;        ///< skips reference voxels that are far from the body
  bool anyContrast = false;        ///< whether negative correlation counts like positive
  NmProgressInterface* progress = nullptr;

  /// Searches from coarse to fine. An interruption leaves the field after its last whole iteration,
  /// repaired.
  FoundField run(SearchSummary& summary) const;
};

}  // namespace voxreg::detail
