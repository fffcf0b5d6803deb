#include "workflow/elastic/elasticPair.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "elastic/RegElasticRegistration.h"
#include "workflow/Intensity.h"
#include "workflow/VoxelOrder.h"
#include "workflow/chest/chestEvidence.h"
#include "workflow/chest/chestWall.h"
#include "workflow/elastic/brickRegion.h"
#include "workflow/refusal.h"

namespace voxreg::detail {

namespace {

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

void requireRoom(const ElasticPair& made) {
  constexpr std::int64_t least = 64;
  const NmVec3i& dims = BrickRegion(*made.reference.data, made.roi).dims;
  if (std::int64_t{dims.x} * dims.y * dims.z < least)
    throw Refusal("the volumes have too few voxels for an elastic registration",
                  Reason::Kind::badImage);
}

}  // namespace

ElasticPair elasticPair(RegElasticRegistration& elastic, const SearchedPair& images,
                        const Image& original, const ElasticOptions& options) {
  const auto& [reference, model] = images;
  const NmVec3l& dims = reference.dims();
  if (dims.x == 1 || dims.y == 1 || dims.z == 1)
    throw Refusal("a single slice has no elastic registration (nonaffine and deform take it)",
                  Reason::Kind::badImage);
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
  if (!elastic.findRanges(true, made.airLevel, made.tissueLevel, made.reference.rescale,
                          made.model.rescale, made.referenceRange, made.modelRange))
    throw Refusal("the volumes have no intensities to register", Reason::Kind::noInformation);
  requireRoom(made);
  return made;
}

}  // namespace voxreg::detail
