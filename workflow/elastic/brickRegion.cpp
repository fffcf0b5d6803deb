#include "workflow/elastic/brickRegion.h"

#include <algorithm>

namespace voxreg::detail {

BrickRegion::BrickRegion(const VlData& volume, const NmBox3i& voxels)
    : voxelSize(volume.voxelSpacing()) {
  volume.boundingBox(box);
  float edges[6];
  bool isPart = true;
  for (int a = 0; a < 3; ++a) {
    const int last = static_cast<int>(volume.dims()[a]) - 1;
    const int from = std::clamp(voxels.min(a), 0, last);
    const int to = std::clamp(voxels.max(a), 0, last);
    isPart = isPart && from < to;
    first[a] = from;
    dims[a] = to - from + 1;
    edges[2 * a] = box.min(a) + static_cast<float>(from) * voxelSize[a];
    edges[2 * a + 1] = box.min(a) + static_cast<float>(to) * voxelSize[a];
  }
  if (isPart) {
    box = NmBox3f(edges[0], edges[1], edges[2], edges[3], edges[4], edges[5]);
    return;
  }
  first = NmVec3i();
  for (int a = 0; a < 3; ++a) dims[a] = static_cast<int>(volume.dims()[a]);
}

int BrickRegion::longestAxis() const {
  int longest = 0;
  for (int a = 1; a < 3; ++a)
    if (box.extent(a) > box.extent(longest)) longest = a;
  return longest;
}

}  // namespace voxreg::detail
