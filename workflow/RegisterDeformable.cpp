#include "workflow/RegisterDeformable.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>
#include <vector>

#include "workflow/refusal.h"
#include "workflow/search/derivativeRuns.h"
#include "workflow/search/detailTask.h"
#include "workflow/search/fieldRuns.h"
#include "workflow/search/information.h"
#include "workflow/search/judgement.h"
#include "workflow/search/latticeRuns.h"
#include "workflow/search/searchSettings.h"
#include "workflow/search/startChoice.h"

namespace voxreg {

namespace {

using namespace detail;

void requireOptions(const DeformableOptions& options) {
  requireSettings(options.metric);
  constexpr double mostSpacing = 1e6;
  if (options.spacing && !(*options.spacing > 0.0 && *options.spacing <= mostSpacing))
    throw Refusal("the spacing of the controls must be above 0 and at most a kilometre");
  if (!(options.stiffness >= 0.0 && std::isfinite(options.stiffness)))
    throw Refusal("the stiffness must be finite and not below 0");
  if (!(options.leastJacobian >= 0.0 && options.leastJacobian < 1.0))
    throw Refusal("the least Jacobian must be from 0 to below 1");
  if (options.tolerance && !(*options.tolerance > 0.0f && std::isfinite(*options.tolerance)))
    throw Refusal("the tolerance must be finite and above 0");
}

/// The start that was given; a lattice or a field keeps its matrix.
LatticeStart givenStart(const Transform& start) {
  if (const std::optional<NmMat4d> matrix = start.referenceToModel()) {
    (void)givenMatrix(start);
    return {*matrix, {}};
  }
  if (const LatticeMap* const lattice = start.lattice()) return {lattice->referenceToModel, start};
  if (const DisplacementMap* const field = start.field()) return {field->referenceToModel, start};
  return {NmMat4d(), start};
}

/// The affine registration that comes first.
LatticeStart affineStart(const SearchedPair& pair, const CountingPair& counting,
                         const DeformableOptions& options, SearchProgress& progress,
                         Registration& found) {
  AffineTask task = {options.metric, {}, {}, {6, 12}, {}};
  task.start = chooseStart(options.startRule, pair, task.metric, progress, found);
  return {searchMatrixByDerivatives(pair, counting, task, progress, found).inverse(), {}};
}

LatticeTask latticeTaskFor(const Image& reference, const DeformableOptions& options) {
  constexpr double usualGain = 1e-4;
  constexpr double softer = 3.0;
  LatticeTask task = {comparisonOf(options.metric),
                      options.spacing.value_or(defaultSpacing(reference, options.detail)),
                      options.stiffness, options.leastJacobian,
                      options.tolerance ? static_cast<double>(*options.tolerance) : usualGain};
  if (options.detail == Detail::none) return task;
  task.stiffness /= softer;
  task.finest = reductionBeforeDetail(VolumeFrame(*reference.volume()));
  return task;
}

/// The stages of a registration, for its progress.
std::vector<ProgressPlan::Stage> stagesOf(const DeformableOptions& options) {
  constexpr double workOfStart = 1.0;
  constexpr double workOfAffine = 4.0;
  constexpr double workOfLattice = 20.0;
  std::vector<ProgressPlan::Stage> stages;
  if (!options.start) stages = {{startCaption, workOfStart}, {"Registering", workOfAffine}};
  stages.push_back({"Deforming", workOfLattice});
  if (options.detail != Detail::none) stages.push_back({"Adding detail", workOfLattice});
  return stages;
}

void keepLattice(const SearchedPair& pair, const DeformableOptions& options, const LatticeMap& map,
                 Registration& found) {
  found.smallestJacobian = map.smallestJacobian();
  found.metricAfter = metricAt(map, pair, options.metric);
  found.transform = Transform::fromLattice(map);
}

/// Goes on with a lattice that was left at a reduced resolution.
LatticeMap finished(const SearchedPair& pair, const CountingPair& counting,
                    const DeformableOptions& options, const LatticeMap& lattice,
                    SearchProgress& progress, Registration& found) {
  LatticeTask task = latticeTaskFor(pair.reference, options);
  if (task.finest == 1) return lattice;
  task.coarsest = task.finest / 2;
  task.finest = 1;
  task.continues = true;
  const LatticeStart start = {lattice.referenceToModel, Transform::fromLattice(lattice)};
  return searchLattice(pair, counting, start, task, progress, found);
}

/// Adds detail to a lattice that leaves room for it, or else finishes the lattice.
void addDetail(const SearchedPair& pair, const CountingPair& counting,
               const DeformableOptions& options, const LatticeMap& lattice,
               SearchProgress& progress, Registration& found) {
  const FieldTask task = fieldTaskFor(options.detail, VolumeFrame(*pair.reference.volume()));
  std::optional<DisplacementMap> field =
      searchField(pair, counting, lattice, task, progress, found);
  if (!field && found.interrupted) return keepLattice(pair, options, lattice, found);
  if (!field) {
    found.warnings.emplace_back("there is no more detail than a smooth lattice shows");
    return keepLattice(pair, options, finished(pair, counting, options, lattice, progress, found),
                       found);
  }
  found.smallestJacobian = field->smallestJacobian();
  found.transform = Transform::fromField(std::move(*field));
  found.metricAfter = metricAt(found.transform, pair, options.metric);
}

/// Finds the transform.
void search(const SearchedPair& pair, const CountingPair& counting,
            const DeformableOptions& options, Registration& found) {
  SearchProgress progress(stagesOf(options), options.progress);
  const LatticeStart start = options.start ? givenStart(*options.start)
                                           : affineStart(pair, counting, options, progress, found);
  found.interrupted = progress.wasInterrupted();
  const LatticeTask task = latticeTaskFor(pair.reference, options);
  if (found.interrupted || found.startIsKept)
    return keepLattice(pair, options, mapOf(start, pair, task.spacing), found);
  const LatticeMap lattice = searchLattice(pair, counting, start, task, progress, found);
  if (found.interrupted || options.detail == Detail::none)
    return keepLattice(pair, options, lattice, found);
  addDetail(pair, counting, options, lattice, progress, found);
}

void find(const Image& reference, const Image& model, const DeformableOptions& options,
          Registration& found) {
  requireOptions(options);
  const LatticeStart given = givenStart(options.start.value_or(Transform()));
  found.transform = options.start.value_or(Transform());
  const SearchedPair pair = searchedPair(reference, model);
  requireInformation(reference, model, options.metric);
  requireSameFlatAxis(pair.reference, pair.model);
  const CountingPair counting(reference, model, pair, options.masks, options.metric);
  search(pair, counting, options, found);
  const double spacing = options.spacing.value_or(defaultSpacing(reference, options.detail));
  found.metricBefore = metricAt(mapOf(given, pair, spacing), pair, options.metric);
  judge(overlapOf(pair.reference, pair.model, found.transform), found);
}

}  // namespace

double defaultSpacing(const Image& reference, Detail detail) {
  constexpr double usual = 16.0;
  constexpr double beforeDetail = 10.0;
  constexpr double leastIntervals = 8.0;
  const double most = detail == Detail::none ? usual : beforeDetail;
  if (!reference) return most;
  const NmBox3f& box = reference.frame().box;
  const auto longest = static_cast<double>(std::max({box.extent(0), box.extent(1), box.extent(2)}));
  return longest > 0.0 ? std::min(most, longest / leastIntervals) : most;
}

Registration registerDeformable(const Image& reference, const Image& model,
                                const DeformableOptions& options) {
  return found<Registration>(
      [&](Registration& registration) { find(reference, model, options, registration); });
}

}  // namespace voxreg
