#include "workflow/PointMap.h"

#include <algorithm>
#include <memory>
#include <optional>

#include "workflow/sampling/fieldPoints.h"
#include "workflow/sampling/latticePoints.h"
#include "workflow/sampling/matrices.h"

namespace voxreg {

namespace {

PointMap::Many byAffineMatrix(const NmMat4d& matrix) {
  return [matrix](const NmVec3d* points, std::int64_t n, NmVec3d* found) {
    for (std::int64_t i = 0; i < n; ++i) found[i] = detail::throughAffine(matrix, points[i]);
  };
}

NmMat4d betweenFrames(const NmMat4d& modelToReference, const NmMat4d& referenceToWorld,
                      const NmMat4d& modelToWorld) {
  NmMat4d frames = modelToReference;
  frames.multLeft(modelToWorld);
  frames.multRight(referenceToWorld.inverse());
  return frames;
}

PointMap::Many byMatrix(const NmMat4d& modelToReference, const ImageFrame& reference,
                        const NmMat4d& modelToWorld) {
  const NmMat4d toModel =
      betweenFrames(modelToReference, reference.toWorld, modelToWorld).inverse();
  const auto& m = toModel.m;
  const bool isAffine = m[0][3] == 0.0 && m[1][3] == 0.0 && m[2][3] == 0.0 && m[3][3] == 1.0;
  if (isAffine) return byAffineMatrix(toModel);
  return [toModel](const NmVec3d* points, std::int64_t n, NmVec3d* found) {
    for (std::int64_t i = 0; i < n; ++i) toModel.multVecMatrix(points[i], found[i]);
  };
}

PointMap::Many byBricks(const BrickGrid& bricks, const ImageFrame& reference,
                        const NmMat4d& modelToWorld) {
  NmMat4d toBox = reference.toWorld;
  toBox.multRight(bricks.boxToWorld.inverse());
  const NmMat4d toModel = modelToWorld.inverse();
  const auto grid = std::make_shared<const BrickGrid>(bricks);
  return [toBox, toModel, grid](const NmVec3d* points, std::int64_t n, NmVec3d* found) {
    for (std::int64_t i = 0; i < n; ++i) {
      NmVec3d inBox;
      toBox.multVecMatrix(points[i], inBox);
      toModel.multVecMatrix(grid->ofBox(inBox), found[i]);
    }
  };
}

PointMap::Many byLattice(const LatticeMap& lattice, const ImageFrame& reference,
                         const NmMat4d& modelToWorld) {
  const auto points = std::make_shared<const detail::LatticePoints>(
      lattice, reference.toWorld, reference.box, modelToWorld.inverse());
  return
      [points](const NmVec3d* from, std::int64_t n, NmVec3d* found) { (*points)(from, n, found); };
}

/// The transform keeps the map.
PointMap::Many byField(const Transform& transform, const DisplacementMap& map,
                       const ImageFrame& reference, const NmMat4d& modelToWorld) {
  const detail::FieldPoints points(map, reference.toWorld, modelToWorld.inverse());
  return [transform, points](const NmVec3d* from, std::int64_t n, NmVec3d* found) {
    for (std::int64_t i = 0; i < n; ++i) found[i] = points.at(from[i]);
  };
}

PointMap::Many throughWorlds(const Transform& transform, const ImageFrame& reference,
                             const NmMat4d& modelToWorld) {
  const NmMat4d toWorld = reference.toWorld;
  const NmMat4d toModel = modelToWorld.inverse();
  return [toWorld, transform, toModel](const NmVec3d* points, std::int64_t n, NmVec3d* found) {
    for (std::int64_t i = 0; i < n; ++i) {
      NmVec3d inWorld;
      toWorld.multVecMatrix(points[i], inWorld);
      toModel.multVecMatrix(transform(inWorld), found[i]);
    }
  };
}

}  // namespace

PointMap::PointMap()
    : many_([](const NmVec3d* points, std::int64_t n, NmVec3d* found) {
        std::copy_n(points, n, found);
      }) {}

PointMap::PointMap(const Transform& transform, const Image& reference, const Image& model)
    : PointMap(transform, reference.frame(), model.frame().toWorld) {}

PointMap::PointMap(const Transform& transform, const ImageFrame& reference,
                   const NmMat4d& modelToWorld) {
  if (const std::optional<NmMat4d> matrix = transform.modelToReference())
    many_ = byMatrix(*matrix, reference, modelToWorld);
  else if (const BrickGrid* const bricks = transform.bricks())
    many_ = byBricks(*bricks, reference, modelToWorld);
  else if (const LatticeMap* const lattice = transform.lattice();
           lattice != nullptr && lattice->isValid())
    many_ = byLattice(*lattice, reference, modelToWorld);
  else if (const DisplacementMap* const field = transform.field();
           field != nullptr && field->isValid())
    many_ = byField(transform, *field, reference, modelToWorld);
  else
    many_ = throughWorlds(transform, reference, modelToWorld);
}

NmVec3f PointMap::operator()(const NmVec3f& point) const {
  const NmVec3d from(point.x, point.y, point.z);
  NmVec3d found;
  many_(&from, 1, &found);
  return {static_cast<float>(found.x), static_cast<float>(found.y), static_cast<float>(found.z)};
}

NmMat4d worldToFrames(const NmMat4d& world, const Image& reference, const Image& model) {
  return betweenFrames(world, reference.frame().toWorld, model.frame().toWorld);
}

NmMat4d framesToWorld(const NmMat4d& frames, const Image& reference, const Image& model) {
  NmMat4d world = frames;
  world.multLeft(model.frame().toWorld.inverse());
  world.multRight(reference.frame().toWorld);
  return world;
}

}  // namespace voxreg
