#include "commands/targetError.h"

#include <cmath>
#include <utility>
#include <vector>

namespace host {

PlaceError targetError(const NiftiVolume& reference, const NmMat4d& result, const NmMat4d& truth) {
  const float threshold = 0.1f * voxreg::percentile(*reference.image.volume(), 0.99);
  NmMat4d through = truth.inverse();
  through.multRight(result);

  const NmBox3f& box = reference.image.frame().box;
  const NmVec3f spacing = reference.image.volume()->voxelSpacing();
  std::vector<double> distances;
  (void)voxreg::forEachRow(*reference.image.volume(), [&](long y, long z, const float* row) {
    for (long x = 0; x < reference.image.dims().x; ++x) {
      if (!(row[x] > threshold)) continue;
      NmVec3d point(box.xmin + static_cast<double>(x) * spacing.x,
                    box.ymin + static_cast<double>(y) * spacing.y,
                    box.zmin + static_cast<double>(z) * spacing.z);
      reference.image.frame().toWorld.multVecMatrix(point, point);
      NmVec3d sent;
      through.multVecMatrix(point, sent);
      distances.push_back(std::hypot(sent.x - point.x, sent.y - point.y, sent.z - point.z));
    }
  });
  return placeErrorOf(std::move(distances));
}

}  // namespace host
