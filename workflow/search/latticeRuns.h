#pragma once

#include <optional>

#include "variational/search/latticeSearch.h"
#include "workflow/LatticeMap.h"
#include "workflow/Registration.h"
#include "workflow/Transform.h"
#include "workflow/search/countingVoxels.h"
#include "workflow/search/searchProgress.h"

namespace voxreg::detail {

/// Where a search for a lattice starts, in the world.
struct LatticeStart {
  NmMat4d referenceToModel;
  std::optional<Transform> transform;  ///< to be taken over by the lattice; none: the matrix only
};

/// How a search for a lattice is made.
struct LatticeTask {
  Comparison comparison;
  double spacing;        ///< millimetres
  double stiffness;      ///< multiple of the default weight
  double leastJacobian;  ///< of the map's determinant
  double relativeGain;
  int coarsest = 4;        ///< reduction of the reference on the first level
  int finest = 1;          ///< on the last
  bool continues = false;  ///< whether the start is what a search has found on coarser levels
};

/// Between the frames of the images; `referenceToModel` is between their worlds.
NmMat4d betweenFrames(const NmMat4d& referenceToModel, const SearchedPair& pair);

/// The lattice of a map with its displacements turned from the model's world to its frame.
ControlLattice inModelFrame(const LatticeMap& map, const SearchedPair& pair);

/// Searches a lattice; adds counts and time to `found`. An interruption leaves the best map so far.
LatticeMap searchLattice(const SearchedPair& pair, const CountingPair& counting,
                         const LatticeStart& start, const LatticeTask& task,
                         SearchProgress& progress, Registration& found);

/// The map of a start.
LatticeMap mapOf(const LatticeStart& start, const SearchedPair& pair, double spacing);

/// The metric of a pair at a smooth map, or at any, at full resolution. Nothing if it has no
/// meaningful value. The latter takes the memory of three floats for each reference voxel.
std::optional<double> metricAt(const LatticeMap& map, const SearchedPair& pair,
                               const MetricOptions& metric);
std::optional<double> metricAt(const Transform& transform, const SearchedPair& pair,
                               const MetricOptions& metric);

}  // namespace voxreg::detail
