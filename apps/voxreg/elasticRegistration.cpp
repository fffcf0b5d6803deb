#include "elasticRegistration.h"

#include <algorithm>
#include <cmath>

#include "HostError.h"
#include "chestEvidence.h"
#include "chestWall.h"
#include "elasticRuns.h"
#include "intensity.h"

namespace host {

namespace {

BodyAxes bodyAxesOf(const RegElasticRegistration& elastic, const VolumeFrame& frame) {
  NmMat4f directions;  // the world runs to the right, to the front and to the head
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

/// The same grid up to the rounding of headers: a hundredth of a voxel, a thousandth of a radian.
bool shareGrid(const NiftiVolume& reference, const NiftiVolume& model) {
  if (!(reference.frame.dims == model.frame.dims)) return false;
  const NmVec3f voxel = reference.data->voxelSpacing();
  for (int a = 0; a < 3; ++a) {
    const NmBox3f& r = reference.frame.box;
    const NmBox3f& m = model.frame.box;
    const double tolerance = 0.01 * static_cast<double>(voxel[a]);
    if (!nearlyEqual(r.min(a), m.min(a), tolerance) || !nearlyEqual(r.max(a), m.max(a), tolerance))
      return false;
    for (int w = 0; w < 3; ++w)
      if (!nearlyEqual(reference.frame.toWorld.m[a][w], model.frame.toWorld.m[a][w], 0.001))
        return false;
  }
  return true;
}

/// The wall is masked where it is a chest's, or was asked for.
void decideMask(const ElasticSettings& settings, ElasticPair& made) {
  using Masking = ElasticSettings::Masking;
  if (settings.masking == Masking::none) {
    made.chestWall = "not masked, as asked";
    return;
  }
  std::optional<ChestWall> wall;
  if (!made.body.oblique)
    wall = findChestWall(made.reference.data, made.reference.rescale, made.body);
  if (settings.masking == Masking::required) {
    if (!wall) throw HostError("no chest wall was found in the reference", HostError::failedRun);
    made.chestWall = "masked, as asked";
  } else if (!wall) {
    made.chestWall = made.body.oblique ? "not masked: the volume lies oblique to the body"
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

/// The levels that were asked for or, where the body has told none, shares of the bright voxels.
void findLevels(const NiftiVolume& reference, const ElasticSettings& settings, ElasticPair& made) {
  constexpr float air = 0.02f;
  constexpr float tissue = 0.2f;
  constexpr double bright = 0.99;
  if (settings.levels.empty() && made.mask) return;
  const float top = percentile(*reference.data, bright);
  const bool asked = !settings.levels.empty();
  const auto whole = [&](float value) {
    return static_cast<int>(std::clamp(std::round(value * made.reference.unit), -1e6f, 1e6f));
  };
  made.airLevel = whole(asked ? settings.levels[0] : air * top);
  made.tissueLevel = whole(asked ? settings.levels[1] : tissue * top);
}

ElasticPair prepare(RegElasticRegistration& elastic, const NiftiVolume& reference,
                    const NiftiVolume& model, const ElasticSettings& settings) {
  ElasticPair made;
  made.reference = asUnsignedShort(reference);
  made.model = asUnsignedShort(model);
  // The grids differ by rounding at most, which the pipeline does not forgive.
  if (!(model.frame.box == reference.frame.box))
    (void)made.model.data->setBoundingBox(reference.frame.box);
  elastic.reference = made.reference.data;
  elastic.model = made.model.data;
  made.body = bodyAxesOf(elastic, reference.frame);
  decideMask(settings, made);
  findLevels(reference, settings, made);
  if (settings.roi) made.roi = *settings.roi;
  return made;
}

}  // namespace

ElasticResult registerElastic(const NiftiVolume& reference, const NiftiVolume& model,
                              const ElasticSettings& settings, InterruptibleProgress& progress) {
  if (!shareGrid(reference, model))
    throw HostError("reference and model are not on the same voxel grid");
  const NmWatch watch(true);
  RegElasticRegistration elastic;
  elastic.progress = &progress;
  progress.takeStopRequests();
  ElasticPair pair = prepare(elastic, reference, model, settings);
  ElasticResult result;
  result.transform = GridTransform::start(NmMat4d(), reference, model);
  result.mask = pair.mask;
  result.chestWall = pair.chestWall;
  if (!elastic.findRanges(true, pair.airLevel, pair.tissueLevel, pair.reference.rescale,
                          pair.model.rescale, pair.referenceRange, pair.modelRange)) {
    result.lack = "the volumes have no intensities to register";
    return result;
  }
  const bool done = searchBricks(elastic, pair, settings, progress);
  result.search.interrupted = progress.wasInterrupted();
  if (!done && !result.search.interrupted)
    throw HostError("the registration failed", HostError::failedRun);
  result.search.counts.add(elastic);
  result.search.seconds = watch.getTime();
  if (elastic.transform.vertices.size > 0) result.transform = elastic.transform;
  return result;
}

}  // namespace host
