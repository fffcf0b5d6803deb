#include <algorithm>
#include <cmath>
#include <cstdint>
#include <stdexcept>

#include "foundation/NmLogFile.h"
#include "foundation/voxels/volumeFrame.h"
#include "registration/RegVoxelRegistration.h"
#include "resampling/RegResampler.h"

namespace {

using Levels = NmDArray<NmDArray<NmHandle<VlData>>>;

const NmVec3i fullResolution(1, 1, 1);

NmVec3i atLeastOne(const NmVec3i& factors) {
  return {std::max(factors.x, 1), std::max(factors.y, 1), std::max(factors.z, 1)};
}

bool hasStageAboveZero(const NmVec4i& stages) {
  return std::max({stages.x, stages.y, stages.z, stages.w}) > 0;
}

void logSampling(const char* volume, const NmVec3i& factors, const NmVec3f& delta) {
  NmVec3f size;
  for (int axis = 0; axis < 3; ++axis) size[axis] = delta[axis] * static_cast<float>(factors[axis]);
  getTheLogInstance().printf("Sampling %s to: (%d, %d, %d), voxelSize (%.2f, %.2f, %.2f)", volume,
                             factors.x, factors.y, factors.z, size.x, size.y, size.z);
}

bool refuse(const char* reason) {
  getTheLogInstance().errorf("doResampling: %s", reason);
  return false;
}

void append(NmDArray<NmVec3i>& plan, const NmVec3i& factors) {
  plan.insert(plan.size, 1, &factors);
}

/// Dimensions of a level, and the voxel sizes that fill the volume's extent from edge to edge.
struct LevelGrid {
  NmVec3f dims;
  NmVec3f voxelSize;

  LevelGrid(const VlData& volume, const NmVec3i& factors) {
    const NmVec3l n = volume.dims();
    const NmBox3f box = voxreg::detail::boxOf(volume);
    for (int axis = 0; axis < 3; ++axis) {
      const double reduced = static_cast<double>(n[axis]) / static_cast<double>(factors[axis]);
      dims[axis] = static_cast<float>(std::ceil(reduced));
      float extent = box.extent(axis);
      if (n[axis] >= 2)
        extent = extent * static_cast<float>(n[axis]) / static_cast<float>(n[axis] - 1);
      voxelSize[axis] = extent / dims[axis];
    }
  }
};

}  // namespace

bool RegVoxelRegistration::doResampling(Levels& referenceLevels, const NmVec3i& coarsest,
                                        Levels& modelLevels) {
  referenceLevels.clear();
  modelLevels.clear();
  for (int k = 0; k < reference.size; ++k) {
    if (addLevels(k, atLeastOne(coarsest), referenceLevels, modelLevels)) continue;
    referenceLevels.clear();
    modelLevels.clear();
    return false;
  }
  return true;
}

bool RegVoxelRegistration::addLevels(int k, const NmVec3i& coarsest, Levels& referenceLevels,
                                     Levels& modelLevels) {
  const int flat = get2DOrientation(reference, model, k);
  if (k == 0 && flat < 0)
    return refuse("A volume is missing, or the volumes are flat on more than one axis.");
  NmVec3f deltaRef, deltaModel;
  NmVec3i axesRef, axesModel;
  getMinDelta(reference, model, deltaRef, axesRef, -k, flat);
  getMinDelta(reference, model, deltaModel, axesModel, 1, flat);
  NmVec3i limited = coarsest;
  if (flat >= 0 && flat < 3) limited[flat] = 1;
  if (flat == 3 && keepCoarseAxis) limited[axesRef.z] = 1;

  const NmDArray<NmVec3i> plan = planFactors(limited, deltaRef);
  if (k == 0) {
    referenceLevels.resize(plan.size);
    modelLevels.resize(plan.size);
  }
  for (std::int64_t j = 0; j < plan.size; ++j) {
    if (j > 0) logSampling("reference", plan[j], deltaRef);
    NmHandle<VlData> volume;
    downsample(reference[k], volume, plan[j], referenceClass);
    if (volume == nullptr) return refuse("A level of the reference can't be had.");
    if (j < referenceLevels.size) referenceLevels[j].insert(referenceLevels[j].size, 1, &volume);
    if (k > 0) continue;
    const bool follows = j > 0 || (plan.size < 3 && affineStages != NmVec4i());
    const NmVec3i factors =
        follows ? getSamplingModel(plan[j], deltaRef, deltaModel, flat) : fullResolution;
    if (!addModelLevel(factors, deltaModel, modelLevels[j])) return false;
  }
  return true;
}

bool RegVoxelRegistration::addModelLevel(const NmVec3i& factors, const NmVec3f& delta,
                                         NmDArray<NmHandle<VlData>>& level) {
  if (factors != fullResolution) logSampling("model", factors, delta);
  NmHandle<VlData> volume;
  downsample(model[0], volume, factors, modelClass);
  if (volume == nullptr) return refuse("A level of the model can't be had.");
  level.insert(0, 1, &volume);
  return true;
}

// Affine runs take full resolution, about half of the coarsest and the coarsest, as far as these
// differ, and two levels at least.
NmDArray<NmVec3i> RegVoxelRegistration::planFactors(const NmVec3i& coarsest,
                                                    const NmVec3f& delta) const {
  NmDArray<NmVec3i> plan;
  append(plan, fullResolution);
  if (!hasStageAboveZero(affineStages)) return plan;
  const float target =
      std::min(static_cast<float>(coarsest.x) * delta.x, static_cast<float>(coarsest.y) * delta.y) /
      static_cast<float>(levelRatio);
  const NmVec3i half(coarsest.x / levelRatio, coarsest.y / levelRatio, coarsest.z / levelRatio);
  const NmVec3i middle = findIsotropicSampling(target, delta, half, coarsest);
  if (middle != fullResolution) append(plan, middle);
  if (coarsest != middle) append(plan, coarsest);
  if (plan.size == 1) append(plan, fullResolution);
  return plan;
}

void RegVoxelRegistration::downsample(const NmHandle<VlData>& source, NmHandle<VlData>& result,
                                      const NmVec3i& factors, RegDataClass dataClass) {
  if (source == nullptr) return;
  if (factors == fullResolution) {
    result = source;
    return;
  }
  LevelGrid grid(*source, factors);
  RegResampler::FilterType filter = RegResampler::Bell;
  if (dataClass == RegDataClassFixedCube || dataClass == RegDataClassFixedCubeVariant) {
    grid.dims = NmVec3f(128.0f, 128.0f, 128.0f);
    grid.voxelSize = NmVec3f();
    filter = RegResampler::Lanczos3;
  }
  RegResampler resampler;
  NmHandle<VlData> made;
  try {
    if (resampler.doResample(source, made, grid.dims, nullptr, grid.voxelSize, filter, 0.0f,
                             std::max(numThreads, 1)))
      result = made;
  } catch (const std::logic_error&) {  // NOLINT(bugprone-empty-catch): no room for the level
  }
}
