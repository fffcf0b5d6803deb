#include "workflow/search/frameGrids.h"

#include "workflow/PointMap.h"

namespace voxreg::detail {

namespace {

/// A flat volume gets a box one millimetre thick, since a grid needs a box with volume.
NmBox3f boxAround(const Image& reference) {
  const NmBox3f& box = reference.frame().box;
  float edges[6];
  for (int a = 0; a < 3; ++a) {
    const float room = box.extent(a) > 0.0f ? 0.0f : 0.5f;
    edges[2 * a] = box.min(a) - room;
    edges[2 * a + 1] = box.max(a) + room;
  }
  return {edges[0], edges[1], edges[2], edges[3], edges[4], edges[5]};
}

void moveVertices(BrickGrid::Grid& grid, const NmMat4d& matrix) {
  for (std::int64_t first = 0; first + 2 < grid.vertices.size; first += 3) {
    const double* const p = grid.vertices.data + first;
    NmVec3d moved(p[0], p[1], p[2]);
    matrix.multVecMatrix(moved, moved);
    for (int c = 0; c < 3; ++c) grid.vertices[first + c] = moved[c];
  }
}

}  // namespace

BrickGrid bricksInWorld(const BrickGrid::Grid& frames, const Image& reference, const Image& model,
                        BrickGrid::Beyond beyond) {
  BrickGrid bricks = {frames, reference.frame().toWorld, beyond};
  moveVertices(bricks.grid, model.frame().toWorld);
  return bricks;
}

BrickGrid::Grid startGrid(const NmMat4d& modelToReference, const Image& reference,
                          const Image& model) {
  BrickGrid::Grid grid;
  grid.box = boxAround(reference);
  grid.numBricks = NmVec3i(1, 1, 1);
  for (int corner = 0; corner < 8; ++corner)
    for (int a = 0; a < 3; ++a) {
      const double place = (corner >> a & 1) != 0 ? grid.box.max(a) : grid.box.min(a);
      grid.vertices.insert(grid.vertices.size, 1, &place);
    }
  moveVertices(grid, worldToFrames(modelToReference, reference, model).inverse());
  return grid;
}

}  // namespace voxreg::detail
