#include "workflow/BrickGrid.h"

#include <algorithm>
#include <cmath>

#include "foundation/numbers/vectors.h"
#include "workflow/sampling/matrices.h"

namespace voxreg {

namespace {

/// The brick on one axis that contains a normalised coordinate, and the position in it.
struct Brick {
  int index;
  double fraction;
};

Brick brickAt(double coordinate, int bricks) {
  const double scaled = coordinate * bricks;
  const double last = bricks - 1.0;
  const double first = scaled > 0.0 ? std::min(std::floor(scaled), last) : 0.0;
  return {static_cast<int>(first), scaled - first};
}

/// The brick that contains a point of the box's frame, on all axes.
struct Cell {
  Brick bricks[3];
  std::int64_t strides[3];  ///< of the vertices

  Cell(const BrickGrid::Grid& grid, const NmVec3d& point) {
    const NmVec3i& n = grid.numBricks;
    std::int64_t stride = 1;
    for (int a = 0; a < 3; ++a) {
      const double low = grid.box.min(a);
      bricks[a] = brickAt((point[a] - low) / (static_cast<double>(grid.box.max(a)) - low), n[a]);
      strides[a] = stride;
      stride *= n[a] + 1;
    }
  }

  std::int64_t vertex(int corner) const {
    std::int64_t index = 0;
    for (int a = 0; a < 3; ++a) index += (bricks[a].index + (corner >> a & 1)) * strides[a];
    return index;
  }

  double weight(int corner, int axis) const {
    return (corner >> axis & 1) != 0 ? bricks[axis].fraction : 1.0 - bricks[axis].fraction;
  }
};

}  // namespace

bool BrickGrid::isValid() const {
  constexpr int mostBricks = 32;
  std::int64_t vertices = 1;
  for (int a = 0; a < 3; ++a) {
    const int n = grid.numBricks[a];
    const float extent = grid.box.max(a) - grid.box.min(a);
    if (n < 1 || n > mostBricks || !(extent > 0.0f && std::isfinite(extent))) return false;
    vertices *= n + 1;
  }
  return grid.vertices.size == 3 * vertices;
}

NmVec3d BrickGrid::ofWorld(const NmVec3d& point) const {
  NmVec3d inBox;
  boxToWorld.inverse().multVecMatrix(point, inBox);
  return ofBox(inBox);
}

NmVec3d BrickGrid::nearestOfBox(const NmVec3d& point) const {
  NmVec3d nearest;
  for (int a = 0; a < 3; ++a)
    nearest[a] = std::clamp<double>(point[a], grid.box.min(a), grid.box.max(a));
  return nearest;
}

NmVec3d BrickGrid::ofBox(const NmVec3d& point) const {
  if (!isValid()) return detail::nowhere();
  if (beyond == Beyond::bricks) return byBricks(point);
  const NmVec3d nearest = nearestOfBox(point);
  NmVec3d found = byBricks(nearest);
  for (int a = 0; a < 3; ++a)
    for (int c = 0; c < 3; ++c) found[c] += (point[a] - nearest[a]) * boxToWorld.m[a][c];
  return found;
}

NmVec3d BrickGrid::byBricks(const NmVec3d& point) const {
  const Cell cell(grid, point);
  NmVec3d found;
  for (int corner = 0; corner < 8; ++corner) {
    double weight = 1.0;
    for (int a = 0; a < 3; ++a) weight *= cell.weight(corner, a);
    const std::int64_t vertex = cell.vertex(corner);
    for (int c = 0; c < 3; ++c) found[c] += weight * grid.vertices[3 * vertex + c];
  }
  return found;
}

/// Takes a point of the box's frame.
NmMat4d BrickGrid::jacobianByBricks(const NmVec3d& point) const {
  const Cell cell(grid, point);
  NmMat4d jacobian;
  for (int axis = 0; axis < 3; ++axis) {
    const double perBrick = grid.numBricks[axis] / static_cast<double>(grid.box.extent(axis));
    double sum[3] = {0.0, 0.0, 0.0};
    for (int corner = 0; corner < 8; ++corner) {
      double slope = (corner >> axis & 1) != 0 ? perBrick : -perBrick;
      for (int a = 0; a < 3; ++a)
        if (a != axis) slope *= cell.weight(corner, a);
      const std::int64_t vertex = cell.vertex(corner);
      for (int c = 0; c < 3; ++c) sum[c] += slope * grid.vertices[3 * vertex + c];
    }
    std::copy(sum, sum + 3, jacobian.m[axis]);
  }
  return jacobian;
}

NmMat4d BrickGrid::jacobian(const NmVec3d& point) const {
  const NmMat4d toBox = boxToWorld.inverse();
  NmVec3d inBox;
  toBox.multVecMatrix(point, inBox);
  if (!isValid()) return detail::noDerivative();
  NmMat4d jacobian;
  if (beyond == Beyond::bricks) {
    jacobian = jacobianByBricks(inBox);
  } else {
    const NmVec3d nearest = nearestOfBox(inBox);
    jacobian = jacobianByBricks(nearest);
    for (int a = 0; a < 3; ++a)
      if (inBox[a] != nearest[a]) std::copy_n(boxToWorld.m[a], 3, jacobian.m[a]);
  }
  return jacobian.multLeft(detail::linearPart(toBox));
}

double BrickGrid::smallestJacobian() const {
  const RegNonAffineTransform transform(grid, grid.numBricks);
  NmDArray<double> smallest;
  constexpr int allBricks = -1;
  (void)transform.computeJacobiTransforms(allBricks, 0, smallest, nullptr, nullptr, nullptr,
                                          nullptr, nullptr);
  return smallest.size > 0 ? *std::min_element(smallest.data, smallest.data + smallest.size) : 0.0;
}

}  // namespace voxreg
