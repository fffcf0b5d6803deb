#include "elastic/pyramid/elasticRegion.h"

#include <algorithm>

namespace voxreg::detail {
namespace {

bool isEmpty(const NmBox3i& box) {
  return box.xmin > box.xmax || box.ymin > box.ymax || box.zmin > box.zmax;
}

NmBox3i limited(const NmBox3i& box, const NmBox3i& all) {
  const auto on = [](int bound, int last) { return std::min(std::max(bound, 0), last); };
  return {on(box.xmin, all.xmax), on(box.xmax, all.xmax), on(box.ymin, all.ymax),
          on(box.ymax, all.ymax), on(box.zmin, all.zmax), on(box.zmax, all.zmax)};
}

}  // namespace

ElasticRegion regionOf(const VolumeFrame& frame, const NmBox3i* roi) {
  const ElasticRegion whole = {frame.box, frame.dims};
  if (roi == nullptr || isEmpty(*roi)) return whole;
  const NmBox3i voxels = limited(*roi, allVoxels(frame.dims));
  if (voxels == allVoxels(frame.dims)) return whole;
  const ElasticRegion region = {
      NmBox3f(frame.position(0, voxels.xmin), frame.position(0, voxels.xmax),
              frame.position(1, voxels.ymin), frame.position(1, voxels.ymax),
              frame.position(2, voxels.zmin), frame.position(2, voxels.zmax)),
      NmVec3i(voxels.xmax - voxels.xmin + 1, voxels.ymax - voxels.ymin + 1,
              voxels.zmax - voxels.zmin + 1)};
  return region.box.volume() > 0.0f ? region : whole;
}

}  // namespace voxreg::detail
