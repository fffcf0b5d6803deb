#pragma once

#include <optional>
#include <vector>

#include "foundation/NmMat4d.h"
#include "variational/ControlLattice.h"
#include "variational/pyramid/searchLevel.h"
#include "variational/search/searchSummary.h"

class NmProgressInterface;

namespace voxreg::detail {

class SearchReport;

/// The search for a smooth map from a reference to a model, both in their own frames: a matrix that
/// stays, and displacements by a lattice that is refined from level to level.
struct LatticeSearch {
  SearchVolume reference;
  SearchVolume model;
  NmMat4d referenceToModel;                  ///< from frame to frame, row vectors
  std::optional<ControlLattice> start = {};  ///< displacements to start with; none: none
  bool continues = false;  ///< whether `start` is what a search has found on coarser levels

  Comparison comparison = {};
  double spacing = 16.0;  ///< of the finest lattice, millimetres
  double bending = 30.0;  ///< weight of the mean squared second derivatives, mm^2 of the metric
  /// Of the map's derivative: each level is searched with more bending weight until the determinant
  /// is larger everywhere, or goes back towards the level before as far as it takes.
  double leastDeterminant = 0.0;
  double relativeGain = 1e-4;
  int mostIterations = 100;  ///< on each level
  int coarsest = 4;          ///< reduction on the first level
  int finest = 1;            ///< on the last
  NmProgressInterface* progress = nullptr;

  std::vector<LevelFactors> levels() const;

  /// The shape of the result; `start` must have it.
  ControlLattice finestLattice() const;

  /// Searches from coarse to fine. An interruption leaves the best lattice so far.
  ControlLattice run(SearchSummary& summary) const;

 private:
  bool holds(const ControlLattice& lattice) const;
  void improve(SearchLevel& level, double weight, int iterations, SearchReport& report,
               ControlLattice& lattice, SearchSummary& summary) const;
  void shrinkTowards(const ControlLattice& before, ControlLattice& lattice) const;
  void searchLevel(SearchLevel& level, SearchReport& report, ControlLattice& lattice,
                   SearchSummary& summary) const;
};

/// The weight of bending that suits a metric (empirical, docs/searches.md).
double usualBending(RegMetricKind metric);

/// A lattice over the reference, somewhat larger than it so that the intervals have the spacing
/// asked for and can be halved `halvings` times. Along an axis of a few voxels the spacing is at
/// least two of them, and along a flat one there is one interval.
ControlLattice latticeOver(const VolumeFrame& reference, double spacing, int halvings);

}  // namespace voxreg::detail
