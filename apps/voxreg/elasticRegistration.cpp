#include "elasticRegistration.h"

#include <algorithm>
#include <cmath>

#include "HostError.h"
#include "intensity.h"
#include "shortVolume.h"

namespace host {

namespace {

/// How a volume's axes run along the body: x to the left, y to the back, z to the head.
struct BodyAxes {
  NmVec3i axes;
  NmVec3i signs;
  bool oblique;
};

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

/// The pair as the pipeline takes it, and what the measurements before it have found.
struct Preparation {
  ShortVolume reference;
  ShortVolume model;
  BodyAxes body;
  std::optional<ChestMask> mask;
  NmBox3i roi;
  int airLevel = 1;
  int tissueLevel = 1;
  NmVec2f referenceRange;
  NmVec2f modelRange;
};

void findMask(const RegElasticRegistration& elastic, const ElasticSettings& settings,
              Preparation& made) {
  using Masking = ElasticSettings::Masking;
  if (settings.masking == Masking::none) return;
  ChestMask mask = {};
  const bool found =
      !made.body.oblique &&
      elastic.findMasking(made.reference.rescale, made.body.axes, made.body.signs, mask.center,
                          mask.weights, mask.innerRadius, mask.outerRadius, &made.roi,
                          made.airLevel, made.tissueLevel);
  if (found)
    made.mask = mask;
  else if (settings.masking == Masking::required)
    throw HostError("no chest wall was found in the reference", HostError::failedRun);
}

/// The levels that were asked for or, where the body has told none, shares of the bright voxels.
void findLevels(const NiftiVolume& reference, const ElasticSettings& settings, Preparation& made) {
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

Preparation prepare(RegElasticRegistration& elastic, const NiftiVolume& reference,
                    const NiftiVolume& model, const ElasticSettings& settings) {
  Preparation made;
  made.reference = asUnsignedShort(reference);
  made.model = asUnsignedShort(model);
  // The grids differ by rounding at most, which the pipeline does not forgive.
  if (!(model.frame.box == reference.frame.box))
    (void)made.model.data->setBoundingBox(reference.frame.box);
  elastic.reference = made.reference.data;
  elastic.model = made.model.data;
  made.body = bodyAxesOf(elastic, reference.frame);
  findMask(elastic, settings, made);
  findLevels(reference, settings, made);
  if (settings.roi) made.roi = *settings.roi;
  if (!elastic.findRanges(true, made.airLevel, made.tissueLevel, made.reference.rescale,
                          made.model.rescale, made.referenceRange, made.modelRange))
    throw HostError("nothing found: the volumes have no intensities to register",
                    HostError::nothingFound);
  return made;
}

/// The pipeline makes two runs on each of up to three coarser levels, and about one on the finest,
/// which it leaves out below those unless many bricks are asked for.
std::vector<ProgressPlan::Stage> progressStages(RegElasticRegistration& elastic, int maxBricks) {
  constexpr std::size_t mostCoarser = 3;
  constexpr int manyBricks = 18;
  constexpr double ratioOfLevels = 4.0;
  const NmVec3l voxels = elastic.reference->dims();
  NmVec3i dims(static_cast<int>(voxels.x), static_cast<int>(voxels.y), static_cast<int>(voxels.z));
  NmVec3f size = elastic.reference->voxelSpacing();
  std::vector<double> works(1, 1.0);
  while (works.size() < 2 * mostCoarser && elastic.specifyDownsampling(dims, size, dims, size))
    works.insert(works.begin(), 2, works.front() / ratioOfLevels);
  if (works.size() > 2 * mostCoarser && maxBricks < manyBricks) works.pop_back();
  std::vector<ProgressPlan::Stage> stages;
  for (const double work : works)
    stages.push_back({"Registering, step " + std::to_string(stages.size() + 1) + " of " +
                          std::to_string(works.size()),
                      work});
  return stages;
}

}  // namespace

bool ChestMask::holds(const NmVec3f& place) const {
  float sum = 0.0f;
  for (int a = 0; a < 3; ++a) sum += weights[a] * (place[a] - center[a]) * (place[a] - center[a]);
  return sum < outerRadius * outerRadius;
}

ElasticResult registerElastic(const NiftiVolume& reference, const NiftiVolume& model,
                              const ElasticSettings& settings, InterruptibleProgress& progress) {
  if (!shareGrid(reference, model))
    throw HostError("reference and model are not on the same voxel grid");
  const NmWatch watch(true);
  RegElasticRegistration elastic;
  elastic.progress = &progress;
  progress.takeStopRequests();
  const Preparation made = prepare(elastic, reference, model, settings);
  const std::vector<ProgressPlan::Stage> stages = progressStages(elastic, settings.maxBricks);
  progress.expectRuns(static_cast<int>(stages.size()), 1);
  progress.enter("Registering", stages);
  const ChestMask mask = made.mask.value_or(ChestMask{});
  const bool done = elastic.doRegistration(
      made.referenceRange, made.modelRange, settings.metric == "cr" ? 1u : 0u,
      made.mask.has_value(), made.reference.rescale, made.model.rescale, mask.center, mask.weights,
      mask.innerRadius, mask.outerRadius, &made.roi, settings.maxBricks, made.body.axes.x);
  if (!done && !progress.wasInterrupted())
    throw HostError("the registration failed", HostError::failedRun);
  if (elastic.transform.vertices.size == 0)
    elastic.transform = GridTransform::start(NmMat4d(), reference, model);
  return {elastic.transform, made.mask, watch.getTime(), progress.wasInterrupted()};
}

}  // namespace host
