#include "workflow/elastic/elasticRuns.h"

#include <algorithm>
#include <string>
#include <vector>

#include "workflow/elastic/brickRegion.h"
#include "workflow/elastic/elasticGrids.h"
#include "workflow/refusal.h"

namespace voxreg::detail {

namespace {

constexpr int leastOfPipeline = 12;  // bricks

unsigned int metricFlagOf(const ElasticOptions& options) {
  return options.metric == Metric::correlationRatio ? 1 : 0;
}

/// Whether the pipeline makes levels coarser than the volume.
bool hasLevels(const RegElasticRegistration& elastic) {
  const BrickRegion whole(*elastic.reference, NmBox3i());
  NmVec3i dims;
  NmVec3f voxelSize;
  return elastic.specifyDownsampling(whole.dims, whole.voxelSize, dims, voxelSize);
}

void expectRuns(SearchProgress& progress, const std::vector<double>& works) {
  std::vector<ProgressPlan::Stage> stages;
  stages.reserve(works.size());
  for (const double work : works)
    stages.push_back({"Registering, step " + std::to_string(stages.size() + 1) + " of " +
                          std::to_string(works.size()),
                      work});
  progress.expectRuns(static_cast<int>(stages.size()), 1);
  progress.enter("Registering", stages);
}

/// Relative work of the pipeline's runs: two on each of up to three coarser levels, and about one
/// on the finest, which it skips after three others unless many bricks are requested.
std::vector<double> worksOfPipeline(const RegElasticRegistration& elastic, int maxBricks) {
  constexpr std::size_t mostCoarser = 3;
  constexpr int manyBricks = 18;
  constexpr double ratioOfLevels = 4.0;  // empirical
  const BrickRegion whole(*elastic.reference, NmBox3i());
  NmVec3i dims = whole.dims;
  NmVec3f size = whole.voxelSize;
  std::vector<double> works(1, 1.0);
  while (works.size() < 2 * mostCoarser && elastic.specifyDownsampling(dims, size, dims, size))
    works.insert(works.begin(), 2, works.front() / ratioOfLevels);
  if (works.size() > 2 * mostCoarser && maxBricks < manyBricks) works.pop_back();
  return works;
}

bool runPipeline(RegElasticRegistration& elastic, const ElasticPair& pair,
                 const ElasticOptions& options, int maxBricks, SearchProgress& progress) {
  expectRuns(progress, worksOfPipeline(elastic, maxBricks));
  const ChestMask mask = pair.mask.value_or(ChestMask{});
  return elastic.doRegistration(pair.referenceRange, pair.modelRange, metricFlagOf(options),
                                pair.mask.has_value(), pair.reference.rescale, pair.model.rescale,
                                mask.center, mask.weights, mask.innerRadius, mask.outerRadius,
                                &pair.roi, maxBricks, pair.body.axes.x);
}

/// A copy, since the pipeline masks its levels.
NmHandle<VlData> masked(const RegElasticRegistration& elastic, const ShortVolume& volume,
                        const ChestMask& mask) {
  const NmVec3l n = volume.data->dims();
  NmVec3i dims(static_cast<int>(n.x), static_cast<int>(n.y), static_cast<int>(n.z));
  NmHandle<VlData> copy;
  if (!elastic.downsample(volume.data, copy, dims, NmVec3f(1.0f, 1.0f, 1.0f), false) ||
      !elastic.applyMasking(copy, volume.rescale, mask.center, mask.weights, mask.innerRadius,
                            mask.outerRadius, RegElasticRegistration::Image))
    throw Refusal("the chest wall cannot be masked", Reason::Kind::failedRun);
  return copy;
}

/// Follows the pipeline without its levels, on grids that suit the region.
bool runGrids(RegElasticRegistration& elastic, const ElasticPair& pair,
              const ElasticOptions& options, SearchProgress& progress) {
  const BrickRegion region(*elastic.reference, pair.roi);
  const int axis = region.longestAxis();
  const int most =
      mostBricks(region.dims, region.voxelSize, axis, options.maxBricks.value_or(leastOfPipeline));
  if (most == 0)
    throw Refusal("the volumes have too few voxels for an elastic registration",
                  Reason::Kind::badImage);
  NmHandle<VlData> reference = elastic.reference;
  NmHandle<VlData> model = elastic.model;
  if (pair.mask) {
    reference = masked(elastic, pair.reference, *pair.mask);
    model = masked(elastic, pair.model, *pair.mask);
  }
  elastic.transform.box = region.box;
  const std::vector<ElasticGrid> grids = elasticGrids(most);
  expectRuns(progress, std::vector<double>(grids.size(), 1.0));
  return std::all_of(grids.begin(), grids.end(), [&](const ElasticGrid& grid) {
    return elastic.invokeVoxelRegistration(
        reference, model, elastic.getNumBricks(grid.bricks, axis, region.dims, region.voxelSize),
        grid.steps, pair.referenceRange, pair.modelRange, metricFlagOf(options), nullptr);
  });
}

}  // namespace

bool searchGrids(RegElasticRegistration& elastic, const ElasticPair& pair,
                 const ElasticOptions& options, SearchProgress& progress) {
  const BrickRegion region(*elastic.reference, pair.roi);
  const int most = mostBricks(region.dims, region.voxelSize, pair.body.axes.x,
                              options.maxBricks.value_or(leastOfPipeline));
  return most >= leastOfPipeline && hasLevels(elastic)
             ? runPipeline(elastic, pair, options, most, progress)
             : runGrids(elastic, pair, options, progress);
}

}  // namespace voxreg::detail
