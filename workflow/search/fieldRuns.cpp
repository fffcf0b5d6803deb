#include "workflow/search/fieldRuns.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "variational/objective/voxelMatrix.h"
#include "workflow/search/derivativeRuns.h"
#include "workflow/search/latticeRuns.h"

namespace voxreg::detail {

namespace {

/// Displacements before a matrix, in voxels, as displacements after it, in the model's world.
DisplacementMap inWorld(FoundField&& found, const NmMat4d& referenceToModel,
                        const SearchedPair& pair) {
  const VolumeFrame& frame = found.frame;
  DisplacementMap map;
  map.toWorld = pair.reference.frame().toWorld;
  map.referenceToModel = referenceToModel;
  map.field.dims = frame.dims;
  double axes[3][3];  // of a voxel's displacement, by the component in the model's world
  NmMat4d through = map.toWorld;
  through.multRight(referenceToModel);
  for (int a = 0; a < 3; ++a) {
    const double size = voxelSizeAlong(frame, a);
    map.field.origin[a] = static_cast<double>(frame.box.min(a));
    map.field.spacing[a] = size;
    for (int c = 0; c < 3; ++c) axes[a][c] = size * through.m[a][c];
  }
  const std::size_t count = found.field.along[0].size();
  map.field.values.resize(3 * count);
  for (std::size_t i = 0; i < count; ++i)
    for (int c = 0; c < 3; ++c) {
      double sum = 0.0;
      for (int a = 0; a < 3; ++a) sum += static_cast<double>(found.field.along[a][i]) * axes[a][c];
      map.field.values[static_cast<std::size_t>(c) * count + i] = static_cast<float>(sum);
    }
  return map;
}

std::vector<ProgressPlan::Stage> progressStages(const FieldTask& task) {
  std::vector<ProgressPlan::Stage> stages;
  for (const FieldSearch::Level& level : task.levels) {
    const double voxels =
        1.0 / (static_cast<double>(level.reduction) * level.reduction * level.reduction);
    stages.push_back({"Adding detail, level " + std::to_string(stages.size() + 1) + " of " +
                          std::to_string(task.levels.size()),
                      voxels * level.iterations});
  }
  return stages;
}

}  // namespace

std::optional<DisplacementMap> searchField(const SearchedPair& pair, const CountingPair& counting,
                                           const LatticeMap& start, const FieldTask& task,
                                           SearchProgress& progress, Registration& found) {
  FieldSearch search = {counting.reference(), counting.model(),
                        betweenFrames(start.referenceToModel, pair), inModelFrame(start, pair)};
  search.levels = task.levels;
  search.elasticSigma = task.elasticSigma;
  search.progress = &progress;
  progress.expectRuns(static_cast<int>(task.levels.size()), 1);
  progress.enter("Adding detail", progressStages(task));
  SearchSummary summary;
  FoundField field = search.run(summary);
  addSummary(summary, found);
  found.interrupted = progress.wasInterrupted();
  if (!field.hasDetail) return std::nullopt;
  if (field.smallestDeterminant < search.leastDeterminant)
    found.warnings.emplace_back("detail is nearly folded in places where smoothing did not help");
  return inWorld(std::move(field), start.referenceToModel, pair);
}

}  // namespace voxreg::detail
