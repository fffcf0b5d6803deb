#include "workflow/search/derivativeRuns.h"

#include <string>

#include "workflow/PointMap.h"
#include "workflow/search/confirmation.h"
#include "workflow/search/searchSettings.h"

namespace voxreg::detail {

namespace {

std::optional<HistogramRange> rangeOf(const std::optional<IntensityRange>& range) {
  if (!range) return std::nullopt;
  return HistogramRange{static_cast<double>(range->low), static_cast<double>(range->high)};
}

}  // namespace

Comparison comparisonOf(const MetricOptions& metric) {
  Comparison comparison;
  comparison.metric = static_cast<RegMetricKind>(kindOf(metric.metric));
  comparison.bins = metric.bins;
  comparison.referenceRange = rangeOf(metric.referenceRange);
  comparison.modelRange = rangeOf(metric.modelRange);
  return comparison;
}

void addSummary(const SearchSummary& summary, Registration& found) {
  found.evaluations += summary.evaluations;
  found.gradients += summary.evaluations;
  found.seconds += summary.seconds;
  found.interrupted = summary.interrupted;
}

MatrixSearch matrixSearch(const SearchedPair& pair, const CountingPair& counting,
                          const AffineTask& task) {
  const auto& [reference, model] = pair;
  MatrixSearch search = {counting.reference(), counting.model(),
                         worldToFrames(task.start, reference, model).inverse()};
  search.levels = levelFactors(search.reference.frame, search.model.frame,
                               coarsestFactors(reference, model, task.levels));
  search.stages = task.stages;
  search.comparison = comparisonOf(task.metric);
  if (task.search.gradientTolerance)
    search.relativeGain = static_cast<double>(*task.search.gradientTolerance);
  return search;
}

NmMat4d searchMatrixByDerivatives(const SearchedPair& pair, const CountingPair& counting,
                                  const AffineTask& task, SearchProgress& progress,
                                  Registration& found) {
  MatrixSearch search = matrixSearch(pair, counting, task);
  search.progress = &progress;
  std::vector<ProgressPlan::Stage> stages;
  for (std::size_t l = 0; l < search.levels.size(); ++l) {
    const NmVec3i& factors = search.levels[l].reference;
    const double voxels = 1.0 / (static_cast<double>(factors.x) * factors.y * factors.z);
    stages.insert(stages.end(), l == 0 ? search.stages.size() : 1,
                  {"Registering, level " + std::to_string(l + 1) + " of " +
                       std::to_string(search.levels.size()),
                   voxels});
  }
  progress.expectRuns(static_cast<int>(stages.size()), 1);
  progress.enter("Registering", stages);
  SearchSummary summary;
  const NmMat4d frames = search.run(summary);
  addSummary(summary, found);
  found.interrupted = progress.wasInterrupted();
  const NmMat4d matrix = framesToWorld(frames.inverse(), pair.reference, pair.model);
  if (found.interrupted || !isDoubtful(task.metric, summary.metric)) return matrix;
  return confirmedMatrix(matrix, pair, counting, task, progress, found);
}

}  // namespace voxreg::detail
