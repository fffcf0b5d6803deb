#include "workflow/search/confirmation.h"

#include <cmath>
#include <string>
#include <utility>

#include "metrics/RegMetric.h"
#include "workflow/PointMap.h"
#include "workflow/search/StopOnly.h"
#include "workflow/search/derivativeRuns.h"

namespace voxreg::detail {

namespace {

AffineTask exchanged(AffineTask task) {
  std::swap(task.metric.referenceRange, task.metric.modelRange);
  task.start = task.start.inverse();
  return task;
}

/// Runs a search, for comparison without its finest level. Model world to reference world.
enum class Use { result, comparison };
NmMat4d searched(const SearchedPair& pair, const CountingPair& counting, const AffineTask& task,
                 Use use, NmProgressInterface& progress, Registration& found) {
  MatrixSearch search = matrixSearch(pair, counting, task);
  if (use == Use::comparison && search.levels.size() > 1) search.levels.pop_back();
  search.progress = &progress;
  SearchSummary summary;
  const NmMat4d frames = search.run(summary);
  addSummary(summary, found);
  return framesToWorld(frames.inverse(), pair.reference, pair.model);
}

/// Whether two matrices, reference world to model world, differ at the reference's corners by less
/// than a tenth of its diagonal on average (empirical: consistent results differ by a few
/// hundredths, those of chance by a quarter and more).
bool agree(const NmMat4d& a, const NmMat4d& b, const Image& reference) {
  constexpr double tolerated = 0.1;
  const NmBox3f& box = reference.frame().box;
  double sum = 0.0;
  for (int corner = 0; corner < 8; ++corner) {
    NmVec3d place;
    for (int axis = 0; axis < 3; ++axis)
      place[axis] = static_cast<double>((corner >> axis & 1) != 0 ? box.max(axis) : box.min(axis));
    reference.frame().toWorld.multVecMatrix(place, place);
    NmVec3d byA;
    NmVec3d byB;
    a.multVecMatrix(place, byA);
    b.multVecMatrix(place, byB);
    sum += std::hypot(byA.x - byB.x, byA.y - byB.y, byA.z - byB.z);
  }
  const double diagonal = std::hypot(box.extent(0), box.extent(1), box.extent(2));
  return sum / 8.0 < tolerated * diagonal;
}

}  // namespace

bool isDoubtful(const MetricOptions& metric, double value) {
  constexpr double littleNormalized = 1.1;  // empirical, as is the next
  constexpr double little = 0.4;
  if (value == RegMetric::noStatement) return false;
  if (metric.metric == Metric::normalizedMutualInformation) return value < littleNormalized;
  return metric.metric == Metric::mutualInformation && value < little;
}

NmMat4d confirmedMatrix(const NmMat4d& matrix, const SearchedPair& pair,
                        const CountingPair& counting, AffineTask task, SearchProgress& progress,
                        Registration& found) {
  progress.enter("Checking");
  StopOnly stopOnly(progress);
  const SearchedPair back = {pair.model, pair.reference};
  const CountingPair backCounting = counting.exchanged();
  NmMat4d present = matrix;
  const std::size_t given = task.stages.size();
  while (!task.stages.empty()) {
    if (task.stages.size() < given)
      present = searched(pair, counting, task, Use::result, stopOnly, found);
    const NmMat4d opposite =
        searched(back, backCounting, exchanged(task), Use::comparison, stopOnly, found);
    if (progress.wasInterrupted()) {
      found.interrupted = true;
      return matrix;
    }
    if (agree(present.inverse(), opposite, pair.reference)) break;
    task.stages.pop_back();
  }
  if (task.stages.size() == given) return matrix;
  found.startIsKept = task.stages.empty();
  found.warnings.push_back(
      "searches from each image to the other disagree, so the " +
      (task.stages.empty()
           ? std::string("start is kept: the images share too little information")
           : "result has only " + std::to_string(task.stages.back()) + " degrees of freedom"));
  return task.stages.empty() ? task.start : present;
}

}  // namespace voxreg::detail
