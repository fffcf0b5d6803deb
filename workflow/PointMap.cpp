#include "workflow/PointMap.h"

#include <algorithm>
#include <memory>
#include <optional>

#include "workflow/sampling/latticePoints.h"

namespace voxreg {

namespace {

// As NmMat4d::multVecMatrix, to the bit, but inlined.
PointMap::Many byAffineMatrix(const NmMat4d& matrix) {
  return [matrix](const NmVec3d* points, std::int64_t n, NmVec3d* found) {
    const auto& m = matrix.m;
    for (std::int64_t i = 0; i < n; ++i) {
      const NmVec3d p = points[i];
      for (int j = 0; j < 3; ++j)
        found[i][j] = p.x * m[0][j] + p.y * m[1][j] + p.z * m[2][j] + m[3][j];
    }
  };
}

PointMap::Many byMatrix(const NmMat4d& modelToReference, const Image& reference,
                        const Image& model) {
  const NmMat4d toModel = worldToFrames(modelToReference, reference, model).inverse();
  const auto& m = toModel.m;
  const bool isAffine = m[0][3] == 0.0 && m[1][3] == 0.0 && m[2][3] == 0.0 && m[3][3] == 1.0;
  if (isAffine) return byAffineMatrix(toModel);
  return [toModel](const NmVec3d* points, std::int64_t n, NmVec3d* found) {
    for (std::int64_t i = 0; i < n; ++i) toModel.multVecMatrix(points[i], found[i]);
  };
}

PointMap::Many byBricks(const BrickGrid& bricks, const Image& reference, const Image& model) {
  NmMat4d toBox = reference.frame().toWorld;
  toBox.multRight(bricks.boxToWorld.inverse());
  const NmMat4d toModel = model.frame().toWorld.inverse();
  const auto grid = std::make_shared<const BrickGrid>(bricks);
  return [toBox, toModel, grid](const NmVec3d* points, std::int64_t n, NmVec3d* found) {
    for (std::int64_t i = 0; i < n; ++i) {
      NmVec3d inBox;
      toBox.multVecMatrix(points[i], inBox);
      toModel.multVecMatrix(grid->ofBox(inBox), found[i]);
    }
  };
}

PointMap::Many byLattice(const LatticeMap& lattice, const Image& reference, const Image& model) {
  const ImageFrame& frame = reference.frame();
  const auto points = std::make_shared<const detail::LatticePoints>(
      lattice, frame.toWorld, frame.box, model.frame().toWorld.inverse());
  return
      [points](const NmVec3d* from, std::int64_t n, NmVec3d* found) { (*points)(from, n, found); };
}

PointMap::Many throughWorlds(const Transform& transform, const Image& reference,
                             const Image& model) {
  const NmMat4d toWorld = reference.frame().toWorld;
  const NmMat4d toModel = model.frame().toWorld.inverse();
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

PointMap::PointMap(const Transform& transform, const Image& reference, const Image& model) {
  if (const std::optional<NmMat4d> matrix = transform.modelToReference())
    many_ = byMatrix(*matrix, reference, model);
  else if (const BrickGrid* const bricks = transform.bricks())
    many_ = byBricks(*bricks, reference, model);
  else if (const LatticeMap* const lattice = transform.lattice();
           lattice != nullptr && lattice->isValid())
    many_ = byLattice(*lattice, reference, model);
  else
    many_ = throughWorlds(transform, reference, model);
}

NmVec3f PointMap::operator()(const NmVec3f& point) const {
  const NmVec3d from(point.x, point.y, point.z);
  NmVec3d found;
  many_(&from, 1, &found);
  return {static_cast<float>(found.x), static_cast<float>(found.y), static_cast<float>(found.z)};
}

NmMat4d worldToFrames(const NmMat4d& world, const Image& reference, const Image& model) {
  NmMat4d frames = world;
  frames.multLeft(model.frame().toWorld);
  frames.multRight(reference.frame().toWorld.inverse());
  return frames;
}

NmMat4d framesToWorld(const NmMat4d& frames, const Image& reference, const Image& model) {
  NmMat4d world = frames;
  world.multLeft(model.frame().toWorld.inverse());
  world.multRight(reference.frame().toWorld);
  return world;
}

}  // namespace voxreg
