#include "workflow/RegisterDeformable.h"

#include <algorithm>
#include <cmath>

#include "workflow/refusal.h"
#include "workflow/search/derivativeRuns.h"
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

LatticeMap searched(const SearchedPair& pair, const CountingPair& counting,
                    const DeformableOptions& options, double spacing, Registration& found) {
  constexpr double workOfStart = 1.0;
  constexpr double workOfAffine = 4.0;
  constexpr double workOfLattice = 20.0;
  constexpr double usualGain = 1e-4;
  std::vector<ProgressPlan::Stage> stages = {{"Deforming", workOfLattice}};
  if (!options.start)
    stages = {{startCaption, workOfStart}, {"Registering", workOfAffine}, stages.front()};
  SearchProgress progress(stages, options.progress);
  const LatticeStart start = options.start ? givenStart(*options.start)
                                           : affineStart(pair, counting, options, progress, found);
  found.interrupted = progress.wasInterrupted();
  if (found.interrupted || found.startIsKept) return mapOf(start, pair, spacing);
  const LatticeTask task = {
      comparisonOf(options.metric), spacing, options.stiffness, options.leastJacobian,
      options.tolerance ? static_cast<double>(*options.tolerance) : usualGain};
  return searchLattice(pair, counting, start, task, progress, found);
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
  const double spacing = options.spacing.value_or(defaultSpacing(reference));
  const LatticeMap map = searched(pair, counting, options, spacing, found);
  found.transform = Transform::fromLattice(map);
  found.metricBefore = metricAt(mapOf(given, pair, spacing), pair, options.metric);
  found.metricAfter = metricAt(map, pair, options.metric);
  found.smallestJacobian = map.smallestJacobian();
  judge(overlapOf(pair.reference, pair.model, found.transform), found);
}

}  // namespace

double defaultSpacing(const Image& reference) {
  constexpr double usual = 16.0;
  constexpr double leastIntervals = 8.0;
  if (!reference) return usual;
  const NmBox3f& box = reference.frame().box;
  const auto longest = static_cast<double>(std::max({box.extent(0), box.extent(1), box.extent(2)}));
  return longest > 0.0 ? std::min(usual, longest / leastIntervals) : usual;
}

Registration registerDeformable(const Image& reference, const Image& model,
                                const DeformableOptions& options) {
  return found<Registration>(
      [&](Registration& registration) { find(reference, model, options, registration); });
}

}  // namespace voxreg
