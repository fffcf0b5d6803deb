#include "workflow/chest/chestWall.h"

#include <cmath>

#include "elastic/RegElasticRegistration.h"
#include "resampling/RegResampler.h"

namespace voxreg::detail {

namespace {

// The search separates skin from air by a value between those of air and of the first bright
// tissue, over a few millimetres, and its profiles are means within 5 mm of a line from front to
// back.
constexpr float largestVoxelAlong = 2.0f;   // millimetres
constexpr float largestVoxelAcross = 5.0f;  // millimetres

/// Larger copies are not made.
constexpr double mostVoxels = 1 << 26;

/// Parts into which a voxel is divided along each axis of the volume so that the search can work; 1
/// on each axis if there would be too many.
NmVec3i partsOfVoxel(const VlData& volume, const BodyAxes& body) {
  const NmVec3l dims = volume.dims();
  const NmVec3f voxel = volume.voxelSpacing();
  NmVec3i parts;
  double voxels = 1.0;
  for (int a = 0; a < 3; ++a) {
    const float largest = a == body.axes.y ? largestVoxelAlong : largestVoxelAcross;
    const float ratio = voxel[a] / largest;
    parts[a] = ratio > 1.0f && ratio < static_cast<float>(mostVoxels)
                   ? static_cast<int>(std::ceil(ratio))
                   : 1;
    voxels *= static_cast<double>(dims[a]) * static_cast<double>(parts[a]);
  }
  return voxels <= mostVoxels ? parts : NmVec3i(1, 1, 1);
}

/// Interpolated linearly. Returns the volume itself if its voxels stay whole, or if memory runs
/// out.
NmHandle<VlData> divided(const NmHandle<VlData>& volume, const NmVec3i& parts) {
  if (parts == NmVec3i(1, 1, 1)) return volume;
  const NmVec3l dims = volume->dims();
  NmVec3f newDims;
  for (int a = 0; a < 3; ++a) newDims[a] = static_cast<float>(dims[a] * parts[a]);
  NmHandle<VlData> result;
  const bool done = RegResampler().doResample(volume, result, newDims, nullptr, NmVec3f(),
                                              RegResampler::Triangle, 0.0f, 1);
  return done ? result : volume;
}

/// Converts from voxels of `fine` to those of `volume`.
NmBox3i roiIn(const VlData& volume, const VlData& fine, const NmBox3i& roi) {
  const auto on = [&](int voxel, int axis) {
    return static_cast<int>(voxel * volume.dims()[axis] / fine.dims()[axis]);
  };
  return {on(roi.xmin, 0), on(roi.xmax, 0), on(roi.ymin, 1),
          on(roi.ymax, 1), on(roi.zmin, 2), on(roi.zmax, 2)};
}

}  // namespace

std::optional<ChestWall> findChestWall(const NmHandle<VlData>& volume, const NmVec2f& rescale,
                                       const BodyAxes& body) {
  RegElasticRegistration elastic;
  elastic.reference = divided(volume, partsOfVoxel(*volume, body));
  ChestWall wall = {};
  ChestMask& mask = wall.mask;
  if (!elastic.findMasking(rescale, body.axes, body.signs, mask.center, mask.weights,
                           mask.innerRadius, mask.outerRadius, &wall.roi, wall.airLevel,
                           wall.tissueLevel))
    return std::nullopt;
  wall.roi = roiIn(*volume, *elastic.reference, wall.roi);
  return wall;
}

}  // namespace voxreg::detail
