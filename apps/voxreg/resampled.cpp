#include "resampled.h"

#include <vector>

#include "HostError.h"

namespace host {

namespace {

/// Places that rounding has put outside the box, by a hundredth of a voxel at most, go back to its
/// face, so that a volume on the model's own grid is not missing its rim.
NmVec3f pulledIn(NmVec3f point, const NmBox3f& box, const NmVec3f& spacing) {
  for (int a = 0; a < 3; ++a) {
    const float nearby = 0.01f * spacing[a];
    if (point[a] < box.min(a) && point[a] >= box.min(a) - nearby) point[a] = box.min(a);
    if (point[a] > box.max(a) && point[a] <= box.max(a) + nearby) point[a] = box.max(a);
  }
  return point;
}

}  // namespace

NiftiVolume resampled(const NiftiVolume& reference, const NiftiVolume& model,
                      const NmMat4d& modelToReference) {
  return resampled(reference, model, placeMap(modelToReference, reference, model));
}

NiftiVolume resampled(const NiftiVolume& reference, const NiftiVolume& model, const PlaceMap& map) {
  float background = 0.0f;
  float highest = 0.0f;
  (void)model.data->range(background, highest, true);

  NiftiVolume result = volumeLike(reference, model.data->primType());
  const NmHandle<VlEvaluator> sampler = model.data->createEvaluator(VlData::Trilinear);
  const NmHandle<VlDataAccess> access = result.data->lock(true);
  if (sampler == nullptr || access == nullptr)
    throw HostError("the model cannot be sampled", HostError::failedRun);

  const NmVec3l dims = result.frame.dims;
  const NmBox3f& box = result.frame.box;
  const NmVec3f spacing = result.data->voxelSpacing();
  const NmVec3f modelSpacing = model.data->voxelSpacing();
  std::vector<float> row(static_cast<std::size_t>(dims.x));
  for (long z = 0; z < dims.z; ++z)
    for (long y = 0; y < dims.y; ++y) {
      for (long x = 0; x < dims.x; ++x) {
        const NmVec3f point = map(NmVec3f(box.xmin + static_cast<float>(x) * spacing.x,
                                          box.ymin + static_cast<float>(y) * spacing.y,
                                          box.zmin + static_cast<float>(z) * spacing.z));
        float& voxel = row[static_cast<std::size_t>(x)];
        voxel = background;
        if (sampler->setLocation(pulledIn(point, model.frame.box, modelSpacing)))
          sampler->value(&voxel);
      }
      (void)access->putRow(-1, y, z, row.data());
    }
  return result;
}

}  // namespace host
