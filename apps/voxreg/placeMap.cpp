#include "placeMap.h"

#include <memory>

namespace host {

PlaceMap placeMap(const NmMat4d& modelToReference, const NiftiVolume& reference,
                  const NiftiVolume& model) {
  const NmMat4d toModel = worldToFrames(modelToReference, reference, model).inverse();
  return [toModel](const NmVec3f& place) {
    NmVec3f found;
    toModel.multVecMatrix(place, found);
    return found;
  };
}

PlaceMap placeMap(const GridTransform& transform, const NiftiVolume& reference,
                  const NiftiVolume& model) {
  NmMat4d toBox = reference.frame.toWorld;
  toBox.multRight(transform.boxToWorld.inverse());
  const NmMat4d toModel = model.frame.toWorld.inverse();
  const auto grid = std::make_shared<GridTransform>(transform);
  return [toBox, toModel, grid](const NmVec3f& place) {
    NmVec3d point(place.x, place.y, place.z);
    toBox.multVecMatrix(point, point);
    toModel.multVecMatrix(grid->ofBox(point), point);
    return NmVec3f(static_cast<float>(point.x), static_cast<float>(point.y),
                   static_cast<float>(point.z));
  };
}

NmMat4d worldToFrames(const NmMat4d& world, const NiftiVolume& reference,
                      const NiftiVolume& model) {
  NmMat4d frames = world;
  frames.multLeft(model.frame.toWorld);
  frames.multRight(reference.frame.toWorld.inverse());
  return frames;
}

NmMat4d framesToWorld(const NmMat4d& frames, const NiftiVolume& reference,
                      const NiftiVolume& model) {
  NmMat4d world = frames;
  world.multLeft(model.frame.toWorld.inverse());
  world.multRight(reference.frame.toWorld);
  return world;
}

}  // namespace host
