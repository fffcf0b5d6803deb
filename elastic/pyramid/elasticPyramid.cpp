#include "elastic/pyramid/elasticPyramid.h"

#include <algorithm>
#include <cmath>

#include "elastic/RegElasticRegistration.h"
#include "foundation/NmLogFile.h"
#include "foundation/NmWatch.h"
#include "foundation/voxels/volumeFrame.h"

namespace voxreg::detail {
namespace {

constexpr int largestInPlane = 512;

/// A registration allows at most one flat axis.
bool isLine(const NmVec3i& dims) {
  return (dims.x == 1) + (dims.y == 1) + (dims.z == 1) > 1;
}

/// Dimensions and voxel size of res1: the longer axis in plane is reduced to 512 voxels, and z with
/// it if its voxels would be smaller than those in plane.
void planFinest(const ElasticLevel& input, ElasticLevel& level) {
  level.dims = input.dims;
  level.voxelSize = input.voxelSize;
  const int longer = std::max(input.dims.x, input.dims.y);
  if (longer <= largestInPlane) return;
  const float factor = static_cast<float>(longer) * 0.001953125f;  // 1 / 512
  level.dims.x = roundedQuotient(input.dims.x, factor);
  level.dims.y = roundedQuotient(input.dims.y, factor);
  if (input.voxelSize.z <= factor * input.voxelSize.x)
    level.dims.z = std::max(roundedQuotient(input.dims.z, factor), 1);
  for (int axis = 0; axis < 3; ++axis)
    level.voxelSize[axis] *=
        static_cast<float>(input.dims[axis]) / static_cast<float>(level.dims[axis]);
}

}  // namespace

void ElasticLevel::release() {
  reference = nullptr;
  model = nullptr;
}

ElasticPyramid::ElasticPyramid(RegElasticRegistration& registration, const ElasticMask* mask)
    : registration_(registration), mask_(mask) {
  const VolumeFrame frame(*registration.reference);
  input_ = {frame.dims, frame.voxelSize, registration.reference, registration.model};
}

void ElasticPyramid::fill(ElasticLevel& level, const ElasticLevel& finer) const {
  NmHandle<VlData> reference;
  NmHandle<VlData> model;
  if (isLine(level.dims) ||
      !registration_.downsample(finer.reference, reference, level.dims, level.voxelSize, false) ||
      !registration_.downsample(finer.model, model, level.dims, level.voxelSize, false))
    return;
  level.reference = reference;
  level.model = model;
  if (mask_ == nullptr) return;
  const auto apply = [&](VlData* volume, const NmVec2f& rescale) {
    registration_.applyMasking(volume, rescale, mask_->center, mask_->weights, mask_->innerRadius,
                               mask_->outerRadius, RegElasticRegistration::Image);
  };
  apply(reference, mask_->referenceRescale);
  apply(model, mask_->modelRescale);
}

void ElasticPyramid::buildFinest() {
  const NmWatch watch(true);
  planFinest(input_, res1);
  fill(res1, input_);
  if (!res1.isBuilt()) return;
  const NmBox3f box = boxOf(*res1.reference);
  getTheLogInstance().printf("downsampling/copying reference to res1:");
  getTheLogInstance().printf("  dims %d %d %d  bbox %.2f %.2f %.2f %.2f %.2f %.2f,  %.2f sec.",
                             res1.dims.x, res1.dims.y, res1.dims.z, static_cast<double>(box.xmin),
                             static_cast<double>(box.xmax), static_cast<double>(box.ymin),
                             static_cast<double>(box.ymax), static_cast<double>(box.zmin),
                             static_cast<double>(box.zmax), static_cast<double>(watch.getTime()));
}

void ElasticPyramid::buildCoarser() {
  buildBelow(input_, "res1 to res2", res2);
  buildBelow(res2, "res2 to res4", res4);
  buildBelow(res4, "res4 to res8", res8);
}

void ElasticPyramid::buildBelow(const ElasticLevel& finer, const char* names,
                                ElasticLevel& level) const {
  const NmWatch watch(true);
  if (!finer.isBuilt() ||
      !registration_.specifyDownsampling(finer.dims, finer.voxelSize, level.dims, level.voxelSize))
    return;
  fill(level, finer);
  if (!level.isBuilt()) return;
  const NmBox3f box = boxOf(*level.reference);
  getTheLogInstance().printf("downsampling %s: dims %d %d %d  bbox %.2f %.2f ... %.2f sec.", names,
                             level.dims.x, level.dims.y, level.dims.z,
                             static_cast<double>(box.xmin), static_cast<double>(box.xmax),
                             static_cast<double>(watch.getTime()));
}

void ElasticPyramid::completeFinest() {
  if (res1.isBuilt()) return;
  res1.dims = input_.dims;
  res1.voxelSize = input_.voxelSize;
  fill(res1, input_);
}

int roundedQuotient(int n, float divisor) {
  return static_cast<int>(std::nearbyint(static_cast<float>(n) / divisor));
}

}  // namespace voxreg::detail
