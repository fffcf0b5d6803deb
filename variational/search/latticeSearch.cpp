#include "variational/search/latticeSearch.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <string>
#include <utility>

#include "foundation/NmLogFile.h"
#include "foundation/NmWatch.h"
#include "variational/latticeDeterminants.h"
#include "variational/objective/bendingEnergy.h"
#include "variational/objective/tensorTables.h"
#include "variational/objective/voxelMatrix.h"
#include "variational/search/lbfgs.h"
#include "variational/search/searchReport.h"

namespace voxreg::detail {
namespace {

/// Iterations with all voxels of a large volume, after those with some of them.
constexpr int mostRefining = 10;

constexpr int leastStages = 3;  // of the lattice, if the volumes have fewer levels

/// How often the intervals along an axis are halved up to the finest lattice.
int halvingsFor(int intervals, int most) {
  int halvings = 0;
  while (halvings < most && (intervals >> (halvings + 1)) >= 1) ++halvings;
  return halvings;
}

/// Without the smoothed level for searches that start far away.
std::vector<LevelFactors> unsmoothed(std::vector<LevelFactors> factors) {
  factors.front().isSmoothed = false;
  if (factors.size() > 1 && factors[0].reference == factors[1].reference)
    factors.erase(factors.begin());
  return factors;
}

/// Gives all controls along a flat axis the same derivative, so that they stay equal: the volume
/// shows only their sum, and the energy of their differences would slow the search down.
void evenOut(const ControlLattice& lattice, int axis, std::vector<double>& gradient) {
  const auto count = static_cast<std::size_t>(lattice.controlsAlong(axis));
  std::size_t stride = 1;
  for (int a = 0; a < axis; ++a) stride *= static_cast<std::size_t>(lattice.controlsAlong(a));
  for (std::size_t block = 0; block < gradient.size(); block += stride * count)
    for (std::size_t first = block; first < block + stride; ++first) {
      double mean = 0.0;
      for (std::size_t i = 0; i < count; ++i) mean += gradient[first + i * stride];
      mean /= static_cast<double>(count);
      for (std::size_t i = 0; i < count; ++i) gradient[first + i * stride] = mean;
    }
}

/// What becomes small: the level's cost plus the weighed bending energy, by the lattice's values.
class LatticeObjective {
 public:
  LatticeObjective(SearchLevel& level, const NmMat4d& referenceToModel,
                   const ControlLattice& lattice, double bending)
      : level_(level),
        referenceToModel_(referenceToModel),
        lattice_(lattice),
        tables_(level.referenceFrame(), lattice),
        energy_(lattice),
        bending_(bending) {}

  double operator()(const std::vector<double>& values, std::vector<double>& gradient) {
    lattice_.values = values;
    tables_.setLattice(referenceToModel_, lattice_, level_.modelFrame());
    const double metric = level_.metric().evaluate(tables_.map(), gradient.data());
    const double cost = level_.costOf(metric, gradient.data(), gradient.size());
    const std::size_t n = values.size() / 3;
    for (int c = 0; c < 3; ++c) {
      const double perMillimetre = 1.0 / voxelSizeAlong(level_.modelFrame(), c);
      for (std::size_t i = 0; i < n; ++i)
        gradient[static_cast<std::size_t>(c) * n + i] *= perMillimetre;
    }
    const double energy =
        bending_ > 0.0 ? energy_.evaluate(values, bending_, gradient.data()) : 0.0;
    for (int a = 0; a < 3; ++a)
      if (level_.referenceFrame().dims[a] == 1) evenOut(lattice_, a, gradient);
    return cost + bending_ * energy;
  }

 private:
  SearchLevel& level_;
  NmMat4d referenceToModel_;
  ControlLattice lattice_;
  TensorTables tables_;
  BendingEnergy energy_;
  double bending_;
};

}  // namespace

ControlLattice latticeOver(const VolumeFrame& reference, double spacing, int halvings) {
  constexpr int mostIntervals = 256;
  constexpr double leastVoxels = 2.0;
  ControlLattice lattice;
  for (int a = 0; a < 3; ++a) {
    const double low = static_cast<double>(reference.box.min(a));
    const double extent = static_cast<double>(reference.box.max(a)) - low;
    const double size = voxelSizeAlong(reference, a);
    if (reference.dims[a] == 1 || !(extent > 0.0)) {
      lattice.intervals[a] = 1;
      lattice.spacing[a] = extent > 0.0 ? extent : 1.0;
      lattice.origin[a] = low;
      continue;
    }
    const double wanted = std::max({spacing, leastVoxels * size, extent / mostIntervals});
    const int needed = static_cast<int>(std::ceil(extent / wanted - 1e-3));
    const int unit = 1 << halvingsFor(needed, halvings);
    lattice.intervals[a] = (std::max(needed, 1) + unit - 1) / unit * unit;
    lattice.spacing[a] = wanted;
    lattice.origin[a] = low + 0.5 * (extent - lattice.intervals[a] * wanted);
  }
  lattice.values.assign(static_cast<std::size_t>(3 * lattice.controlCount()), 0.0);
  return lattice;
}

// Empirical. For volumes of one scale the difference, over the variance, is twice what the
// correlation lacks to 1.
double usualBending(RegMetricKind metric) {
  switch (metric) {
    case RegMetricCorrelationRatio:
      return 9.0;
    case RegMetricMeanSquaredDifference:
      return 18.0;
    case RegMetricSimpleMutualInformation:
      return 60.0;
    case RegMetricNormMutualInformation:
      break;
  }
  return 30.0;
}

std::vector<LevelFactors> LatticeSearch::levels() const {
  std::vector<LevelFactors> factors = levelFactors(reference.frame, model.frame, coarsest);
  const NmVec3i last = levelFactors(reference.frame, model.frame, finest).front().reference;
  const auto isFiner = [&](const NmVec3i& level) {
    return level.x < last.x || level.y < last.y || level.z < last.z;
  };
  while (factors.size() > 1 && isFiner(factors.back().reference)) factors.pop_back();
  if (continues) return unsmoothed(std::move(factors));
  while (factors.size() < leastStages) factors.insert(factors.begin() + 1, factors[1]);
  return factors;
}

ControlLattice LatticeSearch::finestLattice() const {
  return latticeOver(reference.frame, spacing, static_cast<int>(levels().size()) - 1);
}

namespace {

/// The lattices of the levels: the first, and along which axes it is refined for each next one.
class LatticeStages {
 public:
  LatticeStages(const ControlLattice& finest, int count) : first_(finest), last_(count - 1) {
    for (int a = 0; a < 3; ++a) {
      halvings_[a] = halvingsFor(finest.intervals[a], last_);
      first_.intervals[a] >>= halvings_[a];
      first_.spacing[a] *= 1 << halvings_[a];
    }
    first_.values.assign(static_cast<std::size_t>(3 * first_.controlCount()), 0.0);
  }

  const ControlLattice& first() const { return first_; }

  ControlLattice next(const ControlLattice& lattice, int stage) const {
    const auto isRefined = [&](int axis) { return last_ - stage < halvings_[axis] ? 1 : 0; };
    return lattice.refined({isRefined(0), isRefined(1), isRefined(2)});
  }

 private:
  ControlLattice first_;
  int last_;
  NmVec3i halvings_;
};

}  // namespace

ControlLattice LatticeSearch::run(SearchSummary& summary) const {
  const NmWatch watch(true);
  const std::vector<LevelFactors> factors = levels();
  const int numLevels = static_cast<int>(factors.size());
  const LatticeStages stages(finestLattice(), numLevels);
  ControlLattice lattice = start ? *start : stages.first();
  double bestShare = 0.0;
  for (int l = 0; l < numLevels; ++l) {
    summary.interrupted = summary.interrupted || wantsToStop(progress);
    if (summary.interrupted) break;
    if (l > 0 && !start) lattice = stages.next(lattice, l);
    SearchLevel level(reference, model, factors[static_cast<std::size_t>(l)], comparison);
    level.setBestShare(bestShare);
    SearchReport report(progress, l, numLevels, mostIterations);
    searchLevel(level, report, lattice, summary);
    bestShare = level.bestShare();
    report.close();
  }
  summary.seconds += static_cast<double>(watch.getTime());
  return lattice;
}

bool LatticeSearch::holds(const ControlLattice& lattice) const {
  const DeterminantRange range = cornerDeterminants(lattice, referenceToModel);
  const bool isMirror = referenceToModel.det3() < 0.0;
  return (isMirror ? -range.largest : range.smallest) > leastDeterminant;
}

void LatticeSearch::improve(SearchLevel& level, double weight, int iterations, SearchReport& report,
                            ControlLattice& lattice, SearchSummary& summary) const {
  if (summary.interrupted) return;
  Lbfgs::Options options;
  options.mostIterations = iterations;
  options.relativeGain = relativeGain;
  options.firstMove = level.finestVoxel();
  LatticeObjective objective(level, referenceToModel, lattice, weight);
  summary.add(Lbfgs(options).minimise(std::ref(objective), std::ref(report), lattice.values));
}

void LatticeSearch::searchLevel(SearchLevel& level, SearchReport& report, ControlLattice& lattice,
                                SearchSummary& summary) const {
  constexpr int mostAttempts = 2;
  constexpr double stiffer = 4.0;  // from attempt to attempt (empirical)
  const ControlLattice before = lattice;
  if (level.isLarge()) {
    level.sampleSome();
    improve(level, bending, mostIterations, report, lattice, summary);
    level.sampleAll();
  }
  improve(level, bending, level.isLarge() ? mostRefining : mostIterations, report, lattice,
          summary);
  double weight = bending;
  for (int i = 0; i < mostAttempts && !summary.interrupted && !holds(lattice); ++i) {
    weight = std::max(stiffer * weight, 1.0);
    improve(level, weight, mostIterations, report, lattice, summary);
  }
  if (holds(lattice)) return;
  // More points are looked at on a finer lattice, so what has held before may do so no longer.
  if (holds(before)) return shrinkTowards(before, lattice);
  ControlLattice undeformed = lattice;
  std::fill(undeformed.values.begin(), undeformed.values.end(), 0.0);
  if (holds(undeformed)) shrinkTowards(undeformed, lattice);
}

/// Bisects for the largest share of the way from one lattice that holds to another that does not.
void LatticeSearch::shrinkTowards(const ControlLattice& before, ControlLattice& lattice) const {
  constexpr int bisections = 10;
  const ControlLattice after = lattice;
  const auto goTo = [&](double share) {
    for (std::size_t i = 0; i < lattice.values.size(); ++i)
      lattice.values[i] = before.values[i] + share * (after.values[i] - before.values[i]);
  };
  double holding = 0.0;
  double folding = 1.0;
  for (int i = 0; i < bisections; ++i) {
    const double middle = 0.5 * (holding + folding);
    goTo(middle);
    (holds(lattice) ? holding : folding) = middle;
  }
  goTo(holding);
}

}  // namespace voxreg::detail
