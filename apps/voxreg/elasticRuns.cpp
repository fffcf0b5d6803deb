#include "elasticRuns.h"

#include <vector>

#include "HostError.h"
#include "brickRegion.h"
#include "elasticGrids.h"

namespace host {

namespace {

unsigned int metricFlagOf(const ElasticSettings& settings) {
  return settings.metric == "cr" ? 1 : 0;
}

/// Whether the pipeline makes levels below the volume.
bool hasLevels(const RegElasticRegistration& elastic) {
  const BrickRegion whole(*elastic.reference, NmBox3i());
  NmVec3i dims;
  NmVec3f voxelSize;
  return elastic.specifyDownsampling(whole.dims, whole.voxelSize, dims, voxelSize);
}

bool runPipeline(RegElasticRegistration& elastic, const ElasticPair& pair,
                 const ElasticSettings& settings, int maxBricks) {
  const ChestMask mask = pair.mask.value_or(ChestMask{});
  return elastic.doRegistration(pair.referenceRange, pair.modelRange, metricFlagOf(settings),
                                pair.mask.has_value(), pair.reference.rescale, pair.model.rescale,
                                mask.center, mask.weights, mask.innerRadius, mask.outerRadius,
                                &pair.roi, maxBricks, pair.body.axes.x);
}

/// A copy, as the pipeline masks its levels.
NmHandle<VlData> masked(const RegElasticRegistration& elastic, const ShortVolume& volume,
                        const ChestMask& mask) {
  const NmVec3l n = volume.data->dims();
  NmVec3i dims(static_cast<int>(n.x), static_cast<int>(n.y), static_cast<int>(n.z));
  NmHandle<VlData> copy;
  if (!elastic.downsample(volume.data, copy, dims, NmVec3f(1.0f, 1.0f, 1.0f), false) ||
      !elastic.applyMasking(copy, volume.rescale, mask.center, mask.weights, mask.innerRadius,
                            mask.outerRadius, RegElasticRegistration::Image))
    throw HostError("the chest wall cannot be masked", HostError::failedRun);
  return copy;
}

/// The way of the pipeline without its levels, by grids that suit the region.
bool runGrids(RegElasticRegistration& elastic, const ElasticPair& pair,
              const ElasticSettings& settings, InterruptibleProgress& progress) {
  const BrickRegion region(*elastic.reference, pair.roi);
  const int axis = region.longestAxis();
  const int most = mostBricks(region.dims, region.voxelSize, axis, settings.maxBricks);
  if (most == 0) throw HostError("the volumes have too few voxels for an elastic registration");
  NmHandle<VlData> reference = elastic.reference;
  NmHandle<VlData> model = elastic.model;
  if (pair.mask) {
    reference = masked(elastic, pair.reference, *pair.mask);
    model = masked(elastic, pair.model, *pair.mask);
  }
  elastic.transform.box = region.box;
  const std::vector<ElasticGrid> grids = elasticGrids(most);
  for (std::size_t i = 0; i < grids.size(); ++i) {
    progress.beginPart(i, grids.size());
    if (!elastic.invokeVoxelRegistration(
            reference, model,
            elastic.getNumBricks(grids[i].bricks, axis, region.dims, region.voxelSize),
            grids[i].steps, pair.referenceRange, pair.modelRange, metricFlagOf(settings), nullptr))
      return false;
    progress.endPart();
  }
  return true;
}

}  // namespace

bool runElastic(RegElasticRegistration& elastic, const ElasticPair& pair,
                const ElasticSettings& settings, InterruptibleProgress& progress) {
  constexpr int leastOfPipeline = 12;  // bricks
  const NmVec3l dims = elastic.reference->dims();
  if (dims.x == 1 || dims.y == 1 || dims.z == 1)
    throw HostError("a single slice has no elastic registration (nonaffine takes it)");
  const BrickRegion region(*elastic.reference, pair.roi);
  const int most = mostBricks(region.dims, region.voxelSize, pair.body.axes.x, settings.maxBricks);
  return most >= leastOfPipeline && hasLevels(elastic)
             ? runPipeline(elastic, pair, settings, most)
             : runGrids(elastic, pair, settings, progress);
}

}  // namespace host
