#include "workflow/search/voxelRegistration.h"

#include <algorithm>

#include "metrics/RegMetric.h"
#include "workflow/refusal.h"
#include "workflow/search/searchSettings.h"

namespace voxreg::detail {

namespace {

NmDArray<NmHandle<VlData>> listOf(const Image& volume) {
  NmHandle<VlData> handle = volume.volume();
  NmDArray<NmHandle<VlData>> list;
  list.insert(0, 1, &handle);
  return list;
}

/// The axis on which a volume has one voxel; 3 if there is none.
int flatAxis(const Image& volume) {
  int axis = 0;
  while (axis < 3 && volume.dims()[axis] != 1) ++axis;
  return axis;
}

NmVec2f rangeOf(const Image& volume, const std::optional<IntensityRange>& asked) {
  NmVec2f range;
  if (!asked) {
    (void)volume.volume()->range(range.x, range.y, true);
    return range;
  }
  return {asked->low, asked->high};
}

/// More than 64 bins leave too few voxels per pair of bins on coarse levels.
unsigned int binsFor(const Image& volume, const NmVec2f& range, int asked) {
  constexpr int most = 64;
  const int type = volume.volume()->primType();
  const bool holdsIntegers = type != NmPrimType::Float && type != NmPrimType::Double;
  const int fitting = RegVoxelRegistration::getNumBins(range.x, range.y, holdsIntegers);
  return static_cast<unsigned int>(asked > 0 ? asked : std::min(fitting, most));
}

/// The factors that bring the model's voxels close to the size of the reduced reference's.
NmVec3i modelReduction(const NmVec3i& factors, const Image& reference, const Image& model) {
  if (factors == fullResolution) return factors;
  const int flat = RegVoxelRegistration::get2DOrientation(reference.volume(), model.volume());
  NmVec3i result = RegVoxelRegistration::getSamplingModel(
      factors, reference.volume()->voxelSpacing(), model.volume()->voxelSpacing(), flat);
  RegVoxelRegistration::restrictCoarsestResampling(model.volume(), nullptr, false, result);
  return result;
}

/// The volume itself if it is not to be reduced, or cannot be.
NmHandle<VlData> reduced(RegVoxelRegistration& registration, const Image& volume,
                         const NmVec3i& factors) {
  const NmHandle<VlData> original = volume.volume();
  NmHandle<VlData> result = original;
  registration.downsample(original, result, factors, RegDataClassOrdinary);
  return result;
}

}  // namespace

BinRange binsOf(const Image& volume, const std::optional<IntensityRange>& range, int bins) {
  const NmVec2f values = rangeOf(volume, range);
  return {static_cast<double>(values.x), static_cast<double>(values.y),
          static_cast<int>(binsFor(volume, values, bins))};
}

void requireSameFlatAxis(const Image& reference, const Image& model) {
  if (flatAxis(reference) != flatAxis(model))
    throw Refusal("reference and model are not flat on the same axis", Reason::Kind::badImage);
}

RegVoxelRegistration makeRegistration(const Image& reference, const Image& model,
                                      const MetricOptions& metric, const SearchOptions& search,
                                      NmProgressInterface* progress) {
  requireSameFlatAxis(reference, model);
  constexpr int orientationByDimensionMode = 3;
  const unsigned int dimensionMode = flatAxis(reference) < 3 ? 0 : 1;
  const NmVec2f ranges[2] = {rangeOf(reference, metric.referenceRange),
                             rangeOf(model, metric.modelRange)};
  NmDArray<NmHandle<VlData>> references = listOf(reference);
  NmDArray<NmHandle<VlData>> models = listOf(model);
  NmVec4i affineStages;
  NmVec3i nonAffineStages;
  return RegVoxelRegistration(
      progress, /*rethrow=*/true, references, models, orientationByDimensionMode, ranges[0].x,
      ranges[0].y, ranges[1].x, ranges[1].y, /*threads=*/1, kindOf(metric.metric),
      binsFor(reference, ranges[0], metric.bins), binsFor(model, ranges[1], metric.bins),
      /*coarsest=*/NmVec3i(1, 1, 1), dimensionMode, /*findCoverage=*/true, affineStages,
      nonAffineStages, /*keepCoarse=*/false, stepRange(search), search.gradientLevels,
      search.gradientTolerance.value_or(usualTolerance), kindOf(searchByValues(search)),
      search.fitSteps, search.restrictedMotion);
}

NmVec3i coarsestFactors(const Image& reference, const Image& model, const LevelOptions& settings) {
  NmVec3i factors(1, 1, 1);
  if (settings.coarsest) {
    factors = *settings.coarsest;
  } else if (settings.levels > 0) {
    const int factor = 1 << (settings.levels - 1);
    factors = NmVec3i(factor, factor, factor);
  } else {
    constexpr float voxelsAlongTheLongestSide = 32.0f;
    const NmBox3f& box = reference.frame().box;
    const float voxel =
        std::max({box.extent(0), box.extent(1), box.extent(2)}) / voxelsAlongTheLongestSide;
    factors = RegVoxelRegistration::findIsotropicSampling(voxel, reference.volume()->voxelSpacing(),
                                                          NmVec3i(1, 1, 1), NmVec3i(0, 0, 0));
  }
  RegVoxelRegistration::restrictCoarsestResampling(reference.volume(), model.volume(), false,
                                                   factors);
  return factors;
}

void setReducedVolumes(RegVoxelRegistration& registration, const Image& reference,
                       const Image& model, const NmVec3i& factors) {
  registration.reference[0] = reduced(registration, reference, factors);
  registration.model[0] = reduced(registration, model, modelReduction(factors, reference, model));
}

void computeRun(RegVoxelRegistration& registration, SearchProgress& progress, Registration& found) {
  if (!registration.compute(2) && !progress.wasInterrupted())
    throw Refusal("the registration failed", Reason::Kind::failedRun);
  if (registration.finalMetric != RegMetric::noStatement)
    progress.tellMetric(registration.finalMetric);
  found.evaluations += registration.numEvaluations;
  found.gradients += registration.numGradients;
}

}  // namespace voxreg::detail
