#include "workflow/search/centres.h"

#include <vector>

#include "workflow/Intensity.h"

namespace voxreg::detail {

namespace {

NmVec3d inWorld(const Image& volume, const NmVec3d& place) {
  NmVec3d result;
  volume.frame().toWorld.multVecMatrix(place, result);
  return result;
}

}  // namespace

NmVec3d centreOfBox(const Image& volume) {
  NmVec3d middle;
  for (int a = 0; a < 3; ++a)
    middle[a] = 0.5 * (static_cast<double>(volume.frame().box.min(a)) +
                       static_cast<double>(volume.frame().box.max(a)));
  return inWorld(volume, middle);
}

NmVec3d centreOfMass(const Image& volume) {
  const std::vector<float> range = percentiles(*volume.volume(), {0.01, 0.99});
  const float threshold = range[0] + 0.1f * (range[1] - range[0]);
  std::int64_t count = 0;
  NmVec3d sum;  // of voxel indices
  (void)forEachRow(*volume.volume(), [&](std::int64_t y, std::int64_t z, const float* row) {
    for (std::int64_t x = 0; x < volume.dims().x; ++x) {
      if (!(row[x] > threshold)) continue;
      ++count;
      sum.x += static_cast<double>(x);
      sum.y += static_cast<double>(y);
      sum.z += static_cast<double>(z);
    }
  });
  if (count == 0) return centreOfBox(volume);
  const NmVec3f voxel = volume.volume()->voxelSpacing();
  NmVec3d centre;
  for (int a = 0; a < 3; ++a)
    centre[a] = static_cast<double>(volume.frame().box.min(a)) +
                sum[a] / static_cast<double>(count) * static_cast<double>(voxel[a]);
  return inWorld(volume, centre);
}

}  // namespace voxreg::detail
