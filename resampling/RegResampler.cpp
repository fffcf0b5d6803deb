#include "resampling/RegResampler.h"

#include <cmath>
#include <cstdint>
#include <new>
#include <stdexcept>

#include "foundation/NmException.h"
#include "foundation/voxels/volumeFrame.h"
#include "resampling/memoryVolume.h"
#include "resampling/zoomShape.h"

namespace {

using Kernel = float (*)(float);

// Filters 1 to 10. Minimum and maximum never evaluate their kernel.
constexpr Kernel kernels[] = {triangle_filter, bell_filter,       B_spline_filter, Lanczos3_filter,
                              Mitchell_filter, box_filter,        box_filter,      cubic6_filter,
                              cubic8_filter,   LanczosTest_filter};
constexpr float supports[] = {1.0f, 1.5f, 2.0f, 3.0f, 2.0f, 0.5f, 0.5f, 3.0f, 4.0f, 20.0f};

bool hasTableRow(int filter) {
  return filter >= 1 && filter <= 10;
}

Kernel kernelOf(int filter) {
  return hasTableRow(filter) ? kernels[filter - 1] : box_filter;
}

float supportOf(int filter) {
  return hasTableRow(filter) ? supports[filter - 1] : 0.5f;
}

bool isReusable(const VlData& candidate, const VlData& source, const NmVec3l& dims) {
  return &candidate != &source && candidate.dims() == dims &&
         candidate.numDataVars() == source.numDataVars() &&
         candidate.primType() == source.primType();
}

// The exception's own text allocates memory too.
[[noreturn]] void failWithoutTarget() {
  try {
    throw std::logic_error("in createVlData()");
  } catch (const std::bad_alloc&) {
    throw NmMemoryException();
  }
}

/// One axis of setUniformCoords.
void scaleRange(float& min, float& max, std::int64_t sourceDim, std::int64_t targetDim,
                float newDim) {
  const auto sourceLength = static_cast<float>(sourceDim);
  if (!(std::fabs(static_cast<double>(sourceLength - newDim)) > 1e-10)) return;
  float voxelSize = max - min;
  if (sourceDim >= 2) voxelSize /= static_cast<float>(sourceDim - 1);
  voxelSize *= sourceLength / newDim;
  const float extent = voxelSize * (targetDim > 1 ? static_cast<float>(targetDim - 1) : 1.0f);
  const float centre = (max + min) * 0.5f;
  min = centre - extent * 0.5f;
  max = centre + extent * 0.5f;
}

}  // namespace

bool RegResampler::doResample(VlData* source, NmHandle<VlData>& result, const NmVec3f& newDims,
                              VlData* unusedVolume, const NmVec3f& /*newVoxelSize*/,
                              FilterType filter, float /*unusedValue*/, int numThreads) {
  filterType = filter;
  const float lengths[3] = {newDims.x, newDims.y, newDims.z};
  if (source == nullptr || unusedVolume != nullptr) return false;
  if (!voxreg::detail::areLengths(lengths)) return false;
  const NmVec3l dims = voxreg::detail::dimsOfLengths(lengths);
  NmHandle<VlData> target = result;
  if (target != nullptr && !isReusable(*target, *source, dims)) target = nullptr;
  if (target == nullptr) {
    int newSize[3] = {static_cast<int>(dims.x), static_cast<int>(dims.y), static_cast<int>(dims.z)};
    target = createVlData(newSize, source->primType(), source->numDataVars());
  }
  if (target == nullptr) failWithoutTarget();
  setUniformCoords(target, source, lengths);
  if (!zoom3d(*source, *target, lengths, kernelOf(filter), supportOf(filter), numThreads))
    return false;
  result = target;
  return true;
}

NmHandle<VlData> RegResampler::createVlData(int* dims, NmPrimType primType, int numDataVars) {
  if (dims == nullptr) return nullptr;
  const NmVec3l size(dims[0], dims[1], dims[2]);
  return voxreg::detail::makeMemoryVolume(size, primType, numDataVars);
}

void RegResampler::setUniformCoords(VlData* target, const VlData* source, const float* newDims) {
  if (target == nullptr || source == nullptr) return;
  const NmVec3l to = target->dims();
  const NmVec3l from = source->dims();
  NmVec3f lengths(static_cast<float>(to.x), static_cast<float>(to.y), static_cast<float>(to.z));
  if (newDims != nullptr) lengths = NmVec3f(newDims[0], newDims[1], newDims[2]);
  NmBox3f box = voxreg::detail::boxOf(*source);
  scaleRange(box.xmin, box.xmax, from.x, to.x, lengths.x);
  scaleRange(box.ymin, box.ymax, from.y, to.y, lengths.y);
  scaleRange(box.zmin, box.zmax, from.z, to.z, lengths.z);
  target->setBoundingBox(box);
}
