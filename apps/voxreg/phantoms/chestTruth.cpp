#include "phantoms/chestTruth.h"

#include <cmath>

namespace host {

namespace {

NmVec3d placeOf(const NiftiVolume& volume, long x, long y, long z) {
  const NmBox3f& box = volume.image.frame().box;
  const NmVec3f spacing = volume.image.volume()->voxelSpacing();
  return {box.xmin + static_cast<double>(x) * spacing.x,
          box.ymin + static_cast<double>(y) * spacing.y,
          box.zmin + static_cast<double>(z) * spacing.z};
}

}  // namespace

std::vector<PointPair> chestTruth(const ChestPhantom& phantom, const ChestMotion& motion,
                                  const NiftiVolume& volume) {
  const NmVec3l& dims = volume.image.dims();
  std::vector<PointPair> pairs;
  for (long z = 0; z < dims.z; z += 2)
    for (long y = 0; y < dims.y; y += 2)
      for (long x = 0; x < dims.x; x += 2) {
        const NmVec3d place = placeOf(volume, x, y, z);
        if (phantom.isInFront(place)) pairs.push_back({place, motion.moved(place)});
      }
  return pairs;
}

LesionContrast lesionContrast(const ChestPhantom& phantom, const NiftiVolume& subtraction) {
  LesionContrast contrast;
  long within = 0;
  long around = 0;
  (void)voxreg::forEachRow(*subtraction.image.volume(), [&](long y, long z, const float* row) {
    for (long x = 0; x < subtraction.image.dims().x; ++x) {
      const double distance = phantom.lesionDistance(placeOf(subtraction, x, y, z));
      if (distance < 0.0) {
        contrast.uptake += static_cast<double>(row[x]);
        ++within;
      } else if (distance > 3.0 && distance < 15.0) {
        contrast.residual += std::abs(static_cast<double>(row[x]));
        ++around;
      }
    }
  });
  if (within > 0) contrast.uptake /= static_cast<double>(within);
  if (around > 0) contrast.residual /= static_cast<double>(around);
  return contrast;
}

}  // namespace host
