#include "placeMap.h"

#include <algorithm>
#include <memory>

namespace host {

NmVec3f PlaceMap::operator()(const NmVec3f& place) const {
  const NmVec3d from(place.x, place.y, place.z);
  NmVec3d found;
  many_(&from, 1, &found);
  return {static_cast<float>(found.x), static_cast<float>(found.y), static_cast<float>(found.z)};
}

PlaceMap placeMap(const NmMat4d& modelToReference, const NiftiVolume& reference,
                  const NiftiVolume& model) {
  const NmMat4d toModel = worldToFrames(modelToReference, reference, model).inverse();
  return PlaceMap([toModel](const NmVec3d* places, long n, NmVec3d* found) {
    for (long i = 0; i < n; ++i) toModel.multVecMatrix(places[i], found[i]);
  });
}

PlaceMap placeMap(const GridTransform& transform, const NiftiVolume& reference,
                  const NiftiVolume& model) {
  NmMat4d toBox = reference.frame.toWorld;
  toBox.multRight(transform.boxToWorld.inverse());
  const NmMat4d toModel = model.frame.toWorld.inverse();
  const auto grid = std::make_shared<GridTransform>(transform);
  return PlaceMap([toBox, toModel, grid](const NmVec3d* places, long n, NmVec3d* found) {
    for (long i = 0; i < n; ++i) {
      NmVec3d inBox;
      toBox.multVecMatrix(places[i], inBox);
      toModel.multVecMatrix(grid->ofBox(inBox), found[i]);
    }
  });
}

PlaceMap samePlaces() {
  return PlaceMap(
      [](const NmVec3d* places, long n, NmVec3d* found) { std::copy_n(places, n, found); });
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
