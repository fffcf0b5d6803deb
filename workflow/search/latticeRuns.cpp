#include "workflow/search/latticeRuns.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "metrics/RegMetric.h"
#include "variational/latticeInterpolation.h"
#include "variational/objective/tensorTables.h"
#include "variational/objective/voxelMatrix.h"
#include "workflow/PointMap.h"
#include "workflow/refusal.h"
#include "workflow/search/derivativeRuns.h"
#include "workflow/search/searchSettings.h"
#include "workflow/search/voxelRegistration.h"

namespace voxreg::detail {

namespace {

/// Turns vectors: displacements change frames without the shift of a matrix.
void turnDisplacements(const NmMat4d& matrix, ControlLattice& lattice) {
  const auto count = static_cast<std::size_t>(lattice.controlCount());
  for (std::size_t i = 0; i < count; ++i) {
    const double before[3] = {lattice.values[i], lattice.values[count + i],
                              lattice.values[2 * count + i]};
    for (std::size_t c = 0; c < 3; ++c)
      lattice.values[c * count + i] =
          before[0] * matrix.m[0][c] + before[1] * matrix.m[1][c] + before[2] * matrix.m[2][c];
  }
}

/// Gives a lattice the displacements of a start on top of its matrix, in the model's frame. Throws
/// Refusal if one of them is not finite.
void takeOver(const LatticeStart& start, const SearchedPair& pair, ControlLattice& lattice) {
  const PointMap map(*start.transform, pair.reference, pair.model);
  const NmMat4d matrix = betweenFrames(start.referenceToModel, pair);
  interpolate(
      [&](const NmVec3d& point) {
        NmVec3d mapped;
        NmVec3d byMatrix;
        map(&point, 1, &mapped);
        matrix.multVecMatrix(point, byMatrix);
        return NmVec3d(mapped.x - byMatrix.x, mapped.y - byMatrix.y, mapped.z - byMatrix.z);
      },
      lattice);
  if (!std::all_of(lattice.values.begin(), lattice.values.end(),
                   [](double value) { return std::isfinite(value); }))
    throw Refusal("the transform to start from is not finite everywhere");
}

LatticeMap inWorld(const ControlLattice& lattice, const NmMat4d& referenceToModel,
                   const SearchedPair& pair) {
  LatticeMap map = {lattice, pair.reference.frame().toWorld, referenceToModel};
  turnDisplacements(pair.model.frame().toWorld, map.lattice);
  return map;
}

std::vector<ProgressPlan::Stage> progressStages(const LatticeSearch& search) {
  std::vector<ProgressPlan::Stage> stages;
  const std::vector<LevelFactors> levels = search.levels();
  for (const LevelFactors& level : levels) {
    const NmVec3i& factors = level.reference;
    stages.push_back({"Deforming, level " + std::to_string(stages.size() + 1) + " of " +
                          std::to_string(levels.size()),
                      1.0 / (static_cast<double>(factors.x) * factors.y * factors.z)});
  }
  return stages;
}

}  // namespace

NmMat4d betweenFrames(const NmMat4d& referenceToModel, const SearchedPair& pair) {
  return worldToFrames(referenceToModel.inverse(), pair.reference, pair.model).inverse();
}

ControlLattice inModelFrame(const LatticeMap& map, const SearchedPair& pair) {
  ControlLattice lattice = map.lattice;
  turnDisplacements(pair.model.frame().toWorld.inverse(), lattice);
  return lattice;
}

LatticeMap searchLattice(const SearchedPair& pair, const CountingPair& counting,
                         const LatticeStart& start, const LatticeTask& task,
                         SearchProgress& progress, Registration& found) {
  LatticeSearch search = {counting.reference(), counting.model(),
                          betweenFrames(start.referenceToModel, pair)};
  search.comparison = task.comparison;
  search.spacing = task.spacing;
  search.bending = task.stiffness * usualBending(task.comparison.metric);
  search.leastDeterminant = task.leastJacobian;
  search.relativeGain = task.relativeGain;
  search.coarsest = task.coarsest;
  search.finest = task.finest;
  search.continues = task.continues;
  search.progress = &progress;
  if (start.transform) {
    search.start = search.finestLattice();
    takeOver(start, pair, *search.start);
  }
  const std::vector<ProgressPlan::Stage> stages = progressStages(search);
  progress.expectRuns(static_cast<int>(stages.size()), 1);
  progress.enter("Deforming", stages);
  SearchSummary summary;
  const ControlLattice lattice = search.run(summary);
  addSummary(summary, found);
  found.interrupted = progress.wasInterrupted();
  return inWorld(lattice, start.referenceToModel, pair);
}

LatticeMap mapOf(const LatticeStart& start, const SearchedPair& pair, double spacing) {
  ControlLattice lattice =
      latticeOver(VolumeFrame(*pair.reference.volume()), spacing, /*halvings=*/0);
  if (start.transform) takeOver(start, pair, lattice);
  return inWorld(lattice, start.referenceToModel, pair);
}

namespace {

/// The metric of a pair at full resolution, with all voxels.
class FullMetric {
 public:
  FullMetric(const SearchedPair& pair, const MetricOptions& metric)
      : all_(pair.reference, pair.model, pair, {}, metric),
        metric_(static_cast<RegMetricKind>(kindOf(metric.metric)), volumeOf(all_.reference()),
                volumeOf(all_.model()), binsOf(pair.reference, metric.referenceRange, metric.bins),
                binsOf(pair.model, metric.modelRange, metric.bins)) {}

  template <class Map>
  std::optional<double> at(const Map& map) {
    const double value = metric_.evaluate(map, nullptr);
    return value == RegMetric::noStatement ? std::nullopt : std::optional<double>(value);
  }

  VolumeFrame referenceFrame() const { return all_.reference().frame; }
  VolumeFrame modelFrame() const { return all_.model().frame; }

 private:
  static MappedMetric::Volume volumeOf(const SearchVolume& volume) {
    return {volume.voxels, volume.type, volume.frame};
  }

  CountingPair all_;
  MappedMetric metric_;
};

}  // namespace

std::optional<double> metricAt(const LatticeMap& map, const SearchedPair& pair,
                               const MetricOptions& metric) {
  FullMetric full(pair, metric);
  const ControlLattice lattice = inModelFrame(map, pair);
  TensorTables tables(full.referenceFrame(), lattice);
  tables.setLattice(betweenFrames(map.referenceToModel, pair), lattice, full.modelFrame());
  return full.at(tables.map());
}

std::optional<double> metricAt(const Transform& transform, const SearchedPair& pair,
                               const MetricOptions& metric) {
  FullMetric full(pair, metric);
  const VolumeFrame reference = full.referenceFrame();
  const VolumeFrame model = full.modelFrame();
  const NmMat4d frames = betweenFrames(NmMat4d(), pair);
  const PointMap map(transform, pair.reference, pair.model);
  const auto count = static_cast<std::size_t>(voxelCount(reference.dims));
  std::vector<float> displacement(3 * count);
  std::vector<NmVec3d> points(static_cast<std::size_t>(reference.dims.x));
  std::vector<NmVec3d> mapped(points.size());
  std::size_t voxel = 0;
  for (int z = 0; z < reference.dims.z; ++z)
    for (int y = 0; y < reference.dims.y; ++y) {
      for (int x = 0; x < reference.dims.x; ++x)
        points[static_cast<std::size_t>(x)] =
            NmVec3d(reference.position(0, x), reference.position(1, y), reference.position(2, z));
      map(points.data(), reference.dims.x, mapped.data());
      for (std::size_t x = 0; x < points.size(); ++x, ++voxel) {
        NmVec3d unmoved;
        frames.multVecMatrix(points[x], unmoved);
        for (int c = 0; c < 3; ++c)
          displacement[static_cast<std::size_t>(c) * count + voxel] =
              static_cast<float>((mapped[x][c] - unmoved[c]) / voxelSizeAlong(model, c));
      }
    }
  return full.at(FieldMap{voxelMatrix(frames, reference, model), displacement.data()});
}

}  // namespace voxreg::detail
