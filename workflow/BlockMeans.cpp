#include "workflow/BlockMeans.h"

#include <algorithm>
#include <cmath>

#include "workflow/Intensity.h"

namespace voxreg {

BlockMeans::BlockMeans(VlData& volume, float edge) {
  NmBox3f box;
  volume.boundingBox(box);
  const NmVec3l dims = volume.dims();
  NmVec3f voxel = volume.voxelSpacing();
  NmVec3l voxels;
  for (int a = 0; a < 3; ++a) {
    voxel[a] = std::max(voxel[a], 0.01f);
    voxels[a] = std::clamp(static_cast<std::int64_t>(std::lround(edge / voxel[a])), std::int64_t{1},
                           dims[a]);
    counts_[a] = (dims[a] + voxels[a] - 1) / voxels[a];
    edges_[a] = static_cast<float>(voxels[a]) * voxel[a];
    first_[a] = box.min(a) + 0.5f * (edges_[a] - voxel[a]);
    last_[a] = box.max(a);
  }
  means_.resize(static_cast<std::size_t>(counts_.x * counts_.y * counts_.z));
  std::vector<std::int64_t> numbers(means_.size());
  (void)forEachRow(volume, [&](std::int64_t y, std::int64_t z, const float* row) {
    for (std::int64_t x = 0; x < dims.x; ++x) {
      if (!std::isfinite(row[x])) continue;
      const std::size_t block = indexOf({x / voxels.x, y / voxels.y, z / voxels.z});
      means_[block] += static_cast<double>(row[x]);
      ++numbers[block];
    }
  });
  for (std::size_t i = 0; i < means_.size(); ++i)
    if (numbers[i] > 0) means_[i] /= static_cast<double>(numbers[i]);
}

NmVec3f BlockMeans::middle(const NmVec3l& block) const {
  NmVec3f place;
  for (int a = 0; a < 3; ++a)
    place[a] = std::min(first_[a] + static_cast<float>(block[a]) * edges_[a], last_[a]);
  return place;
}

}  // namespace voxreg
