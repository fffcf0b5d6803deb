#include "centres.h"

#include "intensity.h"

namespace host {

namespace {

NmVec3d inWorld(const NiftiVolume& volume, const NmVec3d& place) {
  NmVec3d result;
  volume.frame.toWorld.multVecMatrix(place, result);
  return result;
}

}  // namespace

NmVec3d centreOfBox(const NiftiVolume& volume) {
  NmVec3d middle;
  for (int a = 0; a < 3; ++a)
    middle[a] = 0.5 * (static_cast<double>(volume.frame.box.min(a)) +
                       static_cast<double>(volume.frame.box.max(a)));
  return inWorld(volume, middle);
}

NmVec3d centreOfMass(const NiftiVolume& volume) {
  const float dark = percentile(*volume.data, 0.01);
  const float threshold = dark + 0.1f * (percentile(*volume.data, 0.99) - dark);
  long count = 0;
  NmVec3d sum;  // of voxel indices
  forEachRow(*volume.data, [&](long y, long z, const float* row) {
    for (long x = 0; x < volume.frame.dims.x; ++x) {
      if (!(row[x] > threshold)) continue;
      ++count;
      sum.x += static_cast<double>(x);
      sum.y += static_cast<double>(y);
      sum.z += static_cast<double>(z);
    }
  });
  if (count == 0) return centreOfBox(volume);
  const NmVec3f voxel = volume.data->voxelSpacing();
  NmVec3d centre;
  for (int a = 0; a < 3; ++a)
    centre[a] = static_cast<double>(volume.frame.box.min(a)) +
                sum[a] / static_cast<double>(count) * static_cast<double>(voxel[a]);
  return inWorld(volume, centre);
}

}  // namespace host
