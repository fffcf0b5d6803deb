#include "workflow/RegisterElastic.h"

#include <algorithm>
#include <cmath>

#include "foundation/NmWatch.h"
#include "workflow/Intensity.h"
#include "workflow/VoxelOrder.h"
#include "workflow/bricks/elasticRuns.h"
#include "workflow/chest/chestEvidence.h"
#include "workflow/chest/chestWall.h"
#include "workflow/search/frameGrids.h"
#include "workflow/search/information.h"
#include "workflow/search/judgement.h"
#include "workflow/search/metricProbe.h"
#include "workflow/search/searchedPair.h"

namespace voxreg {

namespace {

using namespace detail;

BodyAxes bodyAxesOf(const RegElasticRegistration& elastic, const ImageFrame& frame) {
  NmMat4f directions;  // the world's axes point to the right, to the front and to the head
  for (int a = 0; a < 3; ++a)
    for (int w = 0; w < 3; ++w)
      directions.m[a][w] =
          static_cast<float>(w == 2 ? frame.toWorld.m[a][w] : -frame.toWorld.m[a][w]);
  BodyAxes body;
  body.oblique = elastic.isObliqueOrientation(directions, body.axes, body.signs);
  return body;
}

bool nearlyEqual(double a, double b, double tolerance) {
  return std::abs(a - b) <= tolerance;
}

/// Whether the grids are equal up to the rounding of headers: a hundredth of a voxel, a thousandth
/// of a radian.
bool shareGrid(const Image& reference, const Image& model) {
  if (!(reference.dims() == model.dims())) return false;
  const NmVec3f voxel = reference.volume()->voxelSpacing();
  for (int a = 0; a < 3; ++a) {
    const NmBox3f& r = reference.frame().box;
    const NmBox3f& m = model.frame().box;
    const double tolerance = 0.01 * static_cast<double>(voxel[a]);
    if (!nearlyEqual(r.min(a), m.min(a), tolerance) || !nearlyEqual(r.max(a), m.max(a), tolerance))
      return false;
    for (int w = 0; w < 3; ++w)
      if (!nearlyEqual(reference.frame().toWorld.m[a][w], model.frame().toWorld.m[a][w], 0.001))
        return false;
  }
  return true;
}

/// The wall is masked if it belongs to a chest, or if requested.
void decideMask(const ElasticOptions& options, ElasticPair& made) {
  if (options.masking == Masking::none) {
    made.chestWall = "not masked, as requested";
    return;
  }
  std::optional<ChestWall> wall;
  if (!made.body.oblique)
    wall = findChestWall(made.reference.data, made.reference.rescale, made.body);
  if (options.masking == Masking::required) {
    if (!wall) throw Refusal("no chest wall was found in the reference", Reason::Kind::failedRun);
    made.chestWall = "masked, as requested";
  } else if (!wall) {
    made.chestWall = made.body.oblique ? "not masked: the volume is oblique to the body"
                                       : "not masked: none was found";
    return;
  } else {
    const ChestVerdict verdict =
        judgeChest(chestEvidence(*made.reference.data, made.body, wall->mask));
    made.chestWall = (verdict.isChest ? "masked: " : "not masked: ") + verdict.reason;
    if (!verdict.isChest) return;
  }
  made.mask = wall->mask;
  made.roi = wall->roi;
  made.airLevel = wall->airLevel;
  made.tissueLevel = wall->tissueLevel;
}

/// The requested levels or, if the body has given none, shares of the bright voxels' value
/// (empirical: 0.02 of the 99th percentile for air, 0.2 for tissue).
void findLevels(const Image& reference, const ElasticOptions& options, ElasticPair& made) {
  constexpr float air = 0.02f;
  constexpr float tissue = 0.2f;
  constexpr double bright = 0.99;
  if (!options.levels && made.mask) return;
  const float top = percentile(*reference.volume(), bright);
  const bool asked = options.levels.has_value();
  const auto whole = [&](float value) {
    return static_cast<int>(std::clamp(std::round(value * made.reference.unit), -1e6f, 1e6f));
  };
  made.airLevel = whole(asked ? options.levels->low : air * top);
  made.tissueLevel = whole(asked ? options.levels->high : tissue * top);
}

/// Converts from the axes of the given image to those of the search.
NmBox3i regionIn(const NmBox3i& asked, const Image& image) {
  const WorldGrid grid = image.grid();
  const VoxelOrder order = VoxelOrder::nearestToWorld(grid);
  int bounds[6];
  for (int a = 0; a < 3; ++a) {
    const int axis = order.gridAxis[a];
    const int last = static_cast<int>(grid.dims[axis]) - 1;
    const int low = asked.min(axis);
    const int high = asked.max(axis);
    if (low < 0 || low >= high || high > last)
      throw Refusal("the region needs two voxels of the reference, in order, on each axis");
    bounds[2 * a] = order.flipped[a] ? last - high : low;
    bounds[2 * a + 1] = order.flipped[a] ? last - low : high;
  }
  return {bounds[0], bounds[1], bounds[2], bounds[3], bounds[4], bounds[5]};
}

ElasticPair prepare(RegElasticRegistration& elastic, const Image& reference, const Image& model,
                    const Image& original, const ElasticOptions& options) {
  ElasticPair made;
  made.reference = asUnsignedShort(reference);
  made.model = asUnsignedShort(model);
  // The grids differ by rounding at most, but the pipeline requires equal ones.
  if (!(model.frame().box == reference.frame().box))
    (void)made.model.data->setBoundingBox(reference.frame().box);
  elastic.reference = made.reference.data;
  elastic.model = made.model.data;
  made.body = bodyAxesOf(elastic, reference.frame());
  decideMask(options, made);
  findLevels(reference, options, made);
  if (options.region) made.roi = regionIn(*options.region, original);
  return made;
}

void requireOptions(const ElasticOptions& options) {
  constexpr int leastBricks = 12;
  constexpr int mostBricks = 40;
  if (options.maxBricks < leastBricks || options.maxBricks > mostBricks)
    throw Refusal("an elastic registration takes 12 to 40 bricks");
  if (options.metric != Metric::correlationRatio &&
      options.metric != Metric::normalizedMutualInformation)
    throw Refusal(
        "an elastic registration uses correlation ratio or normalised mutual information");
  if (options.levels &&
      (!std::isfinite(options.levels->low) || !std::isfinite(options.levels->high)))
    throw Refusal("the levels of air and tissue are not finite");
}

/// Searches on the prepared pair. The result is from frame to frame.
BrickGrid::Grid searched(RegElasticRegistration& elastic, ElasticPair& pair,
                         const ElasticOptions& options, SearchProgress& progress,
                         ElasticRegistration& found) {
  if (!elastic.findRanges(true, pair.airLevel, pair.tissueLevel, pair.reference.rescale,
                          pair.model.rescale, pair.referenceRange, pair.modelRange))
    throw Refusal("the volumes have no intensities to register", Reason::Kind::noInformation);
  const bool done = searchGrids(elastic, pair, options, progress);
  found.interrupted = progress.wasInterrupted();
  if (!done && !found.interrupted)
    throw Refusal("the registration failed", Reason::Kind::failedRun);
  found.evaluations = elastic.numEvaluations;
  found.gradients = elastic.numGradients;
  return elastic.transform;
}

void find(const Image& reference, const Image& model, const ElasticOptions& options,
          ElasticRegistration& found) {
  requireOptions(options);
  const SearchedPair images = searchedPair(reference, model);
  const BrickGrid::Grid before = startGrid(NmMat4d(), images.reference, images.model);
  BrickGrid bricks =
      bricksInWorld(before, images.reference, images.model, BrickGrid::Beyond::displacement);
  found.transform = Transform::fromBricks(bricks);
  MetricOptions metric;
  metric.metric = options.metric;
  requireInformation(reference, model, metric);
  if (!shareGrid(images.reference, images.model))
    throw Refusal("reference and model are not on the same voxel grid", Reason::Kind::badImage);
  const NmWatch watch(true);
  SearchProgress progress({{"Registering", 1.0}}, options.progress);
  RegElasticRegistration elastic;
  elastic.progress = &progress;
  ElasticPair pair = prepare(elastic, images.reference, images.model, reference, options);
  found.mask = pair.mask;
  found.chestWall = pair.chestWall;
  BrickGrid::Grid after = searched(elastic, pair, options, progress, found);
  found.seconds = watch.getTime();
  if (after.vertices.size == 0) after = before;
  bricks = bricksInWorld(after, images.reference, images.model, BrickGrid::Beyond::displacement);
  found.transform = Transform::fromBricks(bricks);
  MetricProbe probe(images.reference, images.model, metric, {}, fullResolution);
  found.metricBefore = probe.at(before);
  found.metricAfter = probe.at(after);
  found.smallestJacobian = bricks.smallestJacobian();
  judge(overlapOf(images.reference, images.model, found.transform), found);
}

}  // namespace

ElasticRegistration registerElastic(const Image& reference, const Image& model,
                                    const ElasticOptions& options) {
  return found<ElasticRegistration>(
      [&](ElasticRegistration& registration) { find(reference, model, options, registration); });
}

}  // namespace voxreg
