#include "workflow/RegisterAffine.h"

#include <algorithm>
#include <optional>

#include "workflow/PointMap.h"
#include "workflow/refusal.h"
#include "workflow/search/affineRuns.h"
#include "workflow/search/derivativeRuns.h"
#include "workflow/search/information.h"
#include "workflow/search/judgement.h"
#include "workflow/search/metricProbe.h"
#include "workflow/search/searchSettings.h"
#include "workflow/search/startChoice.h"

namespace voxreg {

namespace {

using namespace detail;

template <std::size_t n>
bool isOneOf(const int (&values)[n], int value) {
  return std::find(values, values + n, value) != values + n;
}

/// The searches that lead up to the requested degrees of freedom.
std::vector<int> stagesOf(const AffineOptions& options) {
  if (!options.stages.empty()) {
    std::vector<int> stages = options.stages;
    std::sort(stages.begin(), stages.end());
    for (const int stage : stages)
      if (!isOneOf({3, 6, 7, 12}, stage))
        throw Refusal("a stage has 3, 6, 7 or 12 degrees of freedom");
    return stages;
  }
  const int last = options.degreesOfFreedom;
  if (!isOneOf({3, 6, 7, 9, 12}, last))
    throw Refusal("a matrix has 3, 6, 7, 9 or 12 degrees of freedom");
  return last <= 6 ? std::vector<int>{last} : std::vector<int>{6, last};
}

/// The smaller of a matrix's determinant and its reciprocal.
double smallestJacobianOf(const NmMat4d& matrix) {
  const double determinant = matrix.det3();
  return determinant > 1.0 ? 1.0 / determinant : determinant;
}

void find(const Image& reference, const Image& model, const AffineOptions& options,
          Registration& found) {
  AffineTask task = {options.metric, options.search, options.levels, stagesOf(options), {}};
  requireSettings(task.metric);
  requireSettings(task.search);
  requireSettings(task.levels);
  const bool isExact = usesExactDerivatives(task.search);
  if (!isExact && (options.masks.reference || options.masks.model))
    throw Refusal("masks need the search by exact derivatives");
  const NmMat4d given = givenMatrix(options.start);
  found.transform = Transform::fromModelToReference(given);
  const SearchedPair pair = searchedPair(reference, model);
  requireInformation(reference, model, task.metric);
  std::optional<CountingPair> counting;
  if (isExact) counting.emplace(reference, model, pair, options.masks, task.metric);
  constexpr double workOfStart = 1.0;
  constexpr double workOfSearch = 20.0;
  SearchProgress progress({{startCaption, workOfStart}, {"Registering", workOfSearch}},
                          options.progress);
  MetricProbe probe(pair.reference, pair.model, task.metric, task.search, fullResolution);
  task.start =
      options.start ? given : chooseStart(options.startRule, pair, task.metric, progress, found);
  const NmMat4d matrix = counting
                             ? searchMatrixByDerivatives(pair, *counting, task, progress, found)
                             : searchMatrix(pair, task, progress, found);
  found.transform = Transform::fromModelToReference(matrix);
  found.metricBefore = probe.at(worldToFrames(given, pair.reference, pair.model));
  found.metricAfter = probe.at(worldToFrames(matrix, pair.reference, pair.model));
  found.smallestJacobian = smallestJacobianOf(matrix);
  judge(overlapOf(pair.reference, pair.model, found.transform), found);
}

}  // namespace

Registration registerAffine(const Image& reference, const Image& model,
                            const AffineOptions& options) {
  return found<Registration>(
      [&](Registration& registration) { find(reference, model, options, registration); });
}

}  // namespace voxreg
