#include "resampling/RegBrickedResampler.h"

#include <cstdint>
#include <limits>
#include <type_traits>

#include "foundation/NmException.h"
#include "foundation/NmLogFile.h"
#include "foundation/NmWatch.h"
#include "foundation/sampling/volumeCore.h"
#include "foundation/voxels/volumeFrame.h"
#include "foundation/voxels/voxelTypes.h"
#include "resampling/memoryVolume.h"
#include "resampling/samplingRule.h"

using voxreg::detail::VolumeCore;
using voxreg::detail::VoxelGrid;

namespace {

constexpr int oneVariable = 1;

bool arePair(const VlData* reference, const VlData* model) {
  return reference != nullptr && model != nullptr && reference->primType() == model->primType() &&
         reference->numDataVars() == oneVariable && model->numDataVars() == oneVariable;
}

bool isGrid(const NmBox3f& box, const NmVec3i& dims, std::int64_t numNodes) {
  const NmVec3l size(dims.x, dims.y, dims.z);
  return box.volume() > 0.0f && dims.x > 1 && dims.y > 1 && dims.z > 1 &&
         numNodes <= std::numeric_limits<int>::max() &&
         numNodes == VoxelGrid{size, oneVariable, NmPrimType::Double}.numValues();
}

float backgroundOf(VlData& model, bool zeroBackground) {
  float least = 0.0f;
  float most = 0.0f;
  if (!zeroBackground) VolumeCore::findRange(model, least, most);
  return least;
}

/// One resampling, except for the voxels.
struct Job {
  VlData& reference;
  VlData& model;
  const NmBox3f& gridBox;
  NmDArray<NmVec3f>& nodes;
  NmVec3i& gridDims;
  RegResampler::FilterType filter;
  float background;
  bool clampToGrid;
  bool clampToModel;
  NmProgressInterface* progress;

  NmHandle<VlMemoryData> run() const {
    const NmVec3l size = reference.dims();
    NmHandle<VlMemoryData> result =
        RegBrickedResampler::createVlMemoryData(size, reference.primType(), oneVariable);
    if (result == nullptr) return nullptr;
    NmBox3f voxelBox = voxreg::detail::boxOf(reference);
    VolumeCore::setBoundingBox(*result, voxelBox);
    // There is one thread, so only one sampler is used.
    NmDArray<NmHandle<VlEvaluator>> evaluators;
    evaluators.resize(1);
    evaluators[0] = VolumeCore::makeEvaluator(model, voxreg::detail::samplingRule(filter)).object;
    const NmHandle<VlDataAccess> access = VolumeCore::lock(*result, true).object;
    if (evaluators[0] == nullptr || access == nullptr || !access->isLinear()) return nullptr;
    const NmVec3i dims = voxreg::detail::dimsOf(reference);
    voxreg::detail::withVoxelType(model.primType(), [&]<class T>() {
      fill(static_cast<T*>(access->dataPtr(0)), dims, voxelBox, evaluators);
    });
    return result;
  }

  template <class T>
  void fill(T* output, const NmVec3i& dims, NmBox3f& voxelBox,
            NmDArray<NmHandle<VlEvaluator>>& evaluators) const {
    NmDArray<int> xIndices, yIndices, zIndices;
    NmDArray<float> xWeights, yWeights, zWeights;
    RegBrickedResampler::getIndicesAndWeights(dims, voxelBox, gridBox, gridDims, clampToGrid,
                                              xIndices, xWeights, yIndices, yWeights, zIndices,
                                              zWeights);
    constexpr bool isInteger = std::is_integral_v<T>;
    constexpr T lowest = isInteger ? std::numeric_limits<T>::lowest() : T(0);
    constexpr T highest = isInteger ? std::numeric_limits<T>::max() : T(0);
    NmMat4f matrix;
    NmBox3f modelBox = voxreg::detail::boxOf(model);
    brickedResampling<T>(output, dims, voxelBox, 1, background, clampToGrid, clampToModel,
                         evaluators, gridDims, gridBox, nodes, xIndices, xWeights, yIndices,
                         yWeights, zIndices, zWeights, matrix, modelBox, isInteger, lowest, highest,
                         progress);
  }
};

}  // namespace

NmHandle<VlMemoryData> RegBrickedResampler::doResampling(
    const NmHandle<VlData>& reference, const NmHandle<VlData>& model, const NmBox3f& gridBox,
    NmDArray<NmVec3f>& nodes, NmVec3i& gridDims, RegResampler::FilterType filter,
    int /*numThreads*/, bool zeroBackground, bool clampToGrid, bool clampToModel,
    NmProgressInterface* progress) const {
  const NmWatch watch(true);
  if (!arePair(reference, model) || !isGrid(gridBox, gridDims, nodes.size)) return nullptr;
  NmHandle<VlMemoryData> result;
  try {
    const float background = backgroundOf(*model, zeroBackground);
    result = Job{*reference, *model,     gridBox,     nodes,        gridDims,
                 filter,     background, clampToGrid, clampToModel, progress}
                 .run();
  } catch (const NmMemoryException&) {
    return nullptr;
  }
  if (result != nullptr)
    getTheLogInstance().printf("bricked resampling took %.2f sec.",
                               static_cast<double>(watch.getTime()));
  return result;
}

NmHandle<VlMemoryData> RegBrickedResampler::createVlMemoryData(const NmVec3l& dims,
                                                               NmPrimType primType,
                                                               int numDataVars) {
  return voxreg::detail::makeMemoryVolume(dims, primType, numDataVars);
}
