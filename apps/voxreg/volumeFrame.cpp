#include "volumeFrame.h"

#include <algorithm>
#include <cmath>

namespace host {

namespace {

double length(const NmVec3d& v) {
  return std::hypot(v.x, v.y, v.z);
}

NmVec3d cross(const NmVec3d& a, const NmVec3d& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

NmVec3d normalized(const NmVec3d& v) {
  const double size = length(v);
  return size > 0 ? NmVec3d(v.x / size, v.y / size, v.z / size) : v;
}

/// Component of the file's axis along a world axis, as a cosine.
double cosine(const FileGrid& grid, int fileAxis, int worldAxis) {
  return normalized(grid.axis[fileAxis])[worldAxis];
}

}  // namespace

void FileGrid::completeFlatAxis() {
  for (int a = 0; a < 3; ++a)
    if (dims[a] == 1 && !(length(axis[a]) > 0))
      axis[a] = normalized(cross(axis[(a + 1) % 3], axis[(a + 2) % 3]));
}

VoxelOrder VoxelOrder::nearestToWorld(const FileGrid& grid) {
  VoxelOrder best;
  double bestSum = -1.0;
  int trial[3] = {0, 1, 2};
  do {
    double sum = 0.0;
    for (int a = 0; a < 3; ++a) sum += std::abs(cosine(grid, trial[a], a));
    if (sum > bestSum) {
      bestSum = sum;
      std::copy(trial, trial + 3, best.fileAxis);
    }
  } while (std::next_permutation(trial, trial + 3));
  for (int a = 0; a < 3; ++a) best.flipped[a] = cosine(grid, best.fileAxis[a], a) < 0;
  return best;
}

MemoryLine memoryLine(const FileGrid& grid, const VoxelOrder& order, long j, long k) {
  const long position[3] = {0, j, k};
  MemoryLine line = {0, 0};
  long stride = 1;
  for (int a = 0; a < 3; ++a) {
    const int axis = order.fileAxis[a];
    const long p = order.flipped[a] ? grid.dims[axis] - 1 - position[axis] : position[axis];
    line.start += p * stride;
    if (axis == 0) line.stride = order.flipped[a] ? -stride : stride;
    stride *= grid.dims[axis];
  }
  return line;
}

std::optional<VolumeFrame> VolumeFrame::of(const FileGrid& grid, const VoxelOrder& order) {
  VolumeFrame frame;
  NmVec3d corner = grid.origin;
  double spacing[3];
  for (int a = 0; a < 3; ++a) {
    const int axis = order.fileAxis[a];
    const double sign = order.flipped[a] ? -1.0 : 1.0;
    spacing[a] = length(grid.axis[axis]);
    frame.dims[a] = grid.dims[axis];
    for (int w = 0; w < 3; ++w) {
      frame.toWorld.m[a][w] = sign * grid.axis[axis][w] / spacing[a];
      if (order.flipped[a])
        corner[w] += static_cast<double>(grid.dims[axis] - 1) * grid.axis[axis][w];
    }
  }
  NmMat4d toFrame;
  if (!toFrame.affine_inverse(frame.toWorld, toFrame)) return std::nullopt;
  toFrame.multDirMatrix(corner, corner);
  float edges[6];
  for (int a = 0; a < 3; ++a) {
    edges[2 * a] = static_cast<float>(corner[a]);
    edges[2 * a + 1] =
        static_cast<float>(corner[a] + static_cast<double>(frame.dims[a] - 1) * spacing[a]);
  }
  if (!std::all_of(edges, edges + 6, [](float edge) { return std::isfinite(edge); }))
    return std::nullopt;
  frame.box = NmBox3f(edges[0], edges[1], edges[2], edges[3], edges[4], edges[5]);
  return frame;
}

}  // namespace host
