#include "targetError.h"

#include <algorithm>
#include <cmath>

#include "intensity.h"

namespace host {

TargetError targetError(const NiftiVolume& reference, const NmMat4d& result, const NmMat4d& truth) {
  const float threshold = 0.1f * percentile(*reference.data, 0.99);
  NmMat4d through = truth.inverse();
  through.multRight(result);

  const NmBox3f& box = reference.frame.box;
  const NmVec3f spacing = reference.data->voxelSpacing();
  TargetError error;
  long count = 0;
  forEachRow(*reference.data, [&](long y, long z, const float* row) {
    for (long x = 0; x < reference.frame.dims.x; ++x) {
      if (!(row[x] > threshold)) continue;
      NmVec3d point(box.xmin + static_cast<double>(x) * spacing.x,
                    box.ymin + static_cast<double>(y) * spacing.y,
                    box.zmin + static_cast<double>(z) * spacing.z);
      reference.frame.toWorld.multVecMatrix(point, point);
      NmVec3d sent;
      through.multVecMatrix(point, sent);
      const double distance = std::hypot(sent.x - point.x, sent.y - point.y, sent.z - point.z);
      error.mean += distance;
      error.maximum = std::max(error.maximum, distance);
      ++count;
    }
  });
  if (count > 0) error.mean /= static_cast<double>(count);
  return error;
}

}  // namespace host
