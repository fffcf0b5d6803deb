#include "workflow/RegisterDeformable.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>
#include <vector>

#include "workflow/refusal.h"
#include "workflow/search/derivativeRuns.h"
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

/// Voxels of about this size are what the lattice looks at before detail is added, mm.
constexpr double voxelBeforeDetail = 2.0;

double finestVoxel(const Image& image) {
  double finest = 0.0;
  for (int a = 0; a < 3; ++a) {
    const auto size = static_cast<double>(image.volume()->voxelSpacing()[a]);
    if (image.dims()[a] > 1 && (finest == 0.0 || size < finest)) finest = size;
  }
  return finest;
}

/// How often voxels can be doubled up to a size of about 2 mm, as a factor.
int reductionBeforeDetail(const Image& reference) {
  constexpr double slack = 1.2;
  int reduction = 1;
  const double finest = finestVoxel(reference);
  while (finest > 0.0 && 2.0 * reduction * finest <= slack * voxelBeforeDetail) reduction *= 2;
  return reduction;
}

/// Coarse voxels hold little that the lattice has not found.
FieldTask fieldTaskFor(Detail detail, int reduction) {
  constexpr int manyIterations = 20;
  constexpr int someIterations = 10;
  constexpr int fewIterations = 5;
  constexpr double usualSigma = 0.5;
  constexpr double fineSigma = 0.45;
  const bool isFine = detail == Detail::fine;
  const double sigma = isFine ? fineSigma : usualSigma;
  if (reduction == 1) return {{{1, isFine ? someIterations : fewIterations}}, sigma};
  FieldTask task = {{{reduction, manyIterations}}, sigma};
  if (detail != Detail::fast) task.levels.push_back({1, isFine ? manyIterations : someIterations});
  return task;
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
  task.finest = reductionBeforeDetail(reference);
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

/// Adds detail to a lattice that leaves room for it, or else finishes the lattice.
void addDetail(const SearchedPair& pair, const CountingPair& counting,
               const DeformableOptions& options, const LatticeStart& start,
               const LatticeMap& lattice, SearchProgress& progress, Registration& found) {
  const FieldTask task = fieldTaskFor(options.detail, reductionBeforeDetail(pair.reference));
  std::optional<DisplacementMap> field =
      searchField(pair, counting, lattice, task, progress, found);
  if (!field && found.interrupted) return keepLattice(pair, options, lattice, found);
  if (!field) {
    LatticeTask finer = latticeTaskFor(pair.reference, options);
    finer.finest = 1;
    found.warnings.emplace_back("there is no more detail than a smooth lattice shows");
    return keepLattice(pair, options, searchLattice(pair, counting, start, finer, progress, found),
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
  addDetail(pair, counting, options, start, lattice, progress, found);
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
