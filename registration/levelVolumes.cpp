#include "registration/levelVolumes.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <stdexcept>

#include "foundation/NmLogFile.h"
#include "foundation/voxels/volumeFrame.h"
#include "registration/samplingPlan.h"
#include "resampling/RegResampler.h"

namespace voxreg::detail {
namespace {

const NmVec3i fullResolution(1, 1, 1);

NmVec3i atLeastOne(const NmVec3i& factors) {
  return {std::max(factors.x, 1), std::max(factors.y, 1), std::max(factors.z, 1)};
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

/// Dimensions of a level, and the voxel sizes that fill the volume's extent from edge to edge.
struct LevelGrid {
  NmVec3f dims;
  NmVec3f voxelSize;

  LevelGrid(const VlData& volume, const NmVec3i& factors) {
    const NmVec3l n = volume.dims();
    const NmBox3f box = boxOf(volume);
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

/// Makes the levels of one reference after the other.
class LevelBuilder {
 public:
  LevelBuilder(const NmDArray<NmHandle<VlData>>& reference, const NmDArray<NmHandle<VlData>>& model,
               const LevelSettings& settings, Levels& referenceLevels, Levels& modelLevels)
      : reference_(reference),
        model_(model),
        settings_(settings),
        referenceLevels_(referenceLevels),
        modelLevels_(modelLevels) {}

  bool add(std::int64_t k) {
    const VlData* const volume = reference_[k].get();
    const VlData* const moved = model_.size < 1 ? nullptr : model_[0].get();
    const bool isPair = volume != nullptr && moved != nullptr;
    const int flat = isPair ? flatAxisOf(dimsOf(*volume), dimsOf(*moved)) : -1;
    if (k == 0 && flat < 0)
      return refuse("A volume is missing, or the volumes are flat on more than one axis.");
    const VoxelSizes sizes(volume, flat);
    const VoxelSizes movedSizes(moved, flat);
    NmVec3i coarsest = atLeastOne(settings_.coarsest);
    if (flat >= 0 && flat < 3) coarsest[flat] = 1;
    if (flat == 3 && settings_.keepCoarseAxis) coarsest[sizes.axes.z] = 1;

    const NmDArray<NmVec3i> plan =
        levelFactors(coarsest, sizes.delta, settings_.isAffine, settings_.levelRatio);
    if (k == 0) {
      referenceLevels_.resize(plan.size);
      modelLevels_.resize(plan.size);
    }
    for (std::int64_t j = 0; j < plan.size; ++j) {
      if (j > 0) logSampling("reference", plan[j], sizes.delta);
      if (!addReference(k, j, plan[j])) return false;
      if (k > 0) continue;
      const bool follows = j > 0 || (plan.size < 3 && settings_.modelFollowsReference);
      const NmVec3i factors =
          follows ? modelFactors(plan[j], sizes.delta, movedSizes.delta, flat) : fullResolution;
      if (!addModel(j, factors, movedSizes.delta)) return false;
    }
    return true;
  }

 private:
  bool addReference(std::int64_t k, std::int64_t level, const NmVec3i& factors) {
    const NmHandle<VlData> volume =
        reducedVolume(reference_[k], factors, settings_.referenceClass, settings_.numThreads);
    if (volume == nullptr) return refuse("A level of the reference is not available.");
    if (level < referenceLevels_.size)
      referenceLevels_[level].insert(referenceLevels_[level].size, 1, &volume);
    return true;
  }

  bool addModel(std::int64_t level, const NmVec3i& factors, const NmVec3f& delta) {
    if (factors != fullResolution) logSampling("model", factors, delta);
    const NmHandle<VlData> volume =
        reducedVolume(model_[0], factors, settings_.modelClass, settings_.numThreads);
    if (volume == nullptr) return refuse("A level of the model is not available.");
    modelLevels_[level].insert(0, 1, &volume);
    return true;
  }

  const NmDArray<NmHandle<VlData>>& reference_;
  const NmDArray<NmHandle<VlData>>& model_;
  const LevelSettings& settings_;
  Levels& referenceLevels_;
  Levels& modelLevels_;
};

}  // namespace

NmHandle<VlData> reducedVolume(const NmHandle<VlData>& source, const NmVec3i& factors,
                               RegDataClass dataClass, int numThreads) {
  if (source == nullptr || factors == fullResolution) return source;
  LevelGrid grid(*source, factors);
  RegResampler::FilterType filter = RegResampler::Bell;
  if (dataClass == RegDataClassFixedCube || dataClass == RegDataClassFixedCubeVariant) {
    grid.dims = NmVec3f(128.0f, 128.0f, 128.0f);
    grid.voxelSize = NmVec3f();
    filter = RegResampler::Lanczos3;
  }
  NmHandle<VlData> made;
  try {
    if (RegResampler().doResample(source, made, grid.dims, nullptr, grid.voxelSize, filter, 0.0f,
                                  std::max(numThreads, 1)))
      return made;
  } catch (const std::logic_error&) {  // NOLINT(bugprone-empty-catch): no room for the level
  }
  return nullptr;
}

bool makeLevels(const NmDArray<NmHandle<VlData>>& reference,
                const NmDArray<NmHandle<VlData>>& model, const LevelSettings& settings,
                Levels& referenceLevels, Levels& modelLevels) {
  referenceLevels.clear();
  modelLevels.clear();
  LevelBuilder builder(reference, model, settings, referenceLevels, modelLevels);
  for (std::int64_t k = 0; k < reference.size; ++k) {
    if (builder.add(k)) continue;
    referenceLevels.clear();
    modelLevels.clear();
    return false;
  }
  return true;
}

}  // namespace voxreg::detail
