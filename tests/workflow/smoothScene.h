#pragma once

#include <voxreg.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <random>
#include <vector>

/// Thirty smooth blobs, bright and dark, within a soft ball in air: values of 0 to about 200 in the
/// world, millimetres.
inline double blobsAt(const NmVec3d& p) {
  struct Blob {
    NmVec3d centre;
    double width;
    double height;
  };
  static const std::vector<Blob> blobs = [] {
    std::mt19937 random(5);
    const auto within = [&](double low, double high) {
      return low + (high - low) * static_cast<double>(random()) / 4294967295.0;
    };
    std::vector<Blob> made(30);
    for (Blob& blob : made)
      blob = {{within(-24, 24), within(-24, 24), within(-24, 24)}, within(4, 8), within(-60, 60)};
    return made;
  }();
  double value = 100.0;
  for (const auto& [centre, width, height] : blobs) {
    const double distance = std::hypot(p.x - centre.x, p.y - centre.y, p.z - centre.z) / width;
    value += height * std::exp(-0.5 * distance * distance);
  }
  return std::max(value, 0.0) / (1.0 + std::exp(0.7 * (std::hypot(p.x, p.y, p.z) - 32.0)));
}

/// A grid around the world's origin.
struct SceneGrid {
  NmVec3l dims = {40, 40, 40};
  NmMat4d axes = {2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 1};

  NmMat4d voxelToWorld() const {
    NmMat4d matrix = axes;
    for (int w = 0; w < 3; ++w)
      for (int a = 0; a < 3; ++a)
        matrix.m[3][w] -= 0.5 * static_cast<double>(dims[a] - 1) * axes.m[a][w];
    return matrix;
  }
};

/// The values of `field` at the voxels' positions in the world.
inline voxreg::Image sampled(const std::function<double(const NmVec3d&)>& field,
                             const SceneGrid& grid = {}) {
  const NmMat4d toWorld = grid.voxelToWorld();
  std::vector<float> voxels;
  for (long k = 0; k < grid.dims.z; ++k)
    for (long j = 0; j < grid.dims.y; ++j)
      for (long i = 0; i < grid.dims.x; ++i) {
        NmVec3d p(static_cast<double>(i), static_cast<double>(j), static_cast<double>(k));
        toWorld.multVecMatrix(p, p);
        voxels.push_back(static_cast<float>(field(p)));
      }
  return voxreg::Image::copy(voxels.data(), grid.dims, toWorld);
}

/// A smooth warp of up to 4 mm, 2.7 mm on average.
inline NmVec3d warped(const NmVec3d& p) {
  return {p.x + 2.5 * std::sin(p.y / 14.0), p.y - 2.0 * std::sin(p.z / 16.0 + 0.5),
          p.z + 2.2 * std::cos(p.x / 15.0)};
}

/// Mean distance of two maps within 26 mm of the origin, where `counts`.
template <class First, class Second>
double meanDistance(
    const First& first, const Second& second,
    const std::function<bool(const NmVec3d&)>& counts = [](const NmVec3d&) { return true; }) {
  double sum = 0.0;
  int count = 0;
  for (double z = -24; z <= 24; z += 4)
    for (double y = -24; y <= 24; y += 4)
      for (double x = -24; x <= 24; x += 4) {
        const NmVec3d p(x, y, z);
        if (std::hypot(x, y, z) > 26.0 || !counts(p)) continue;
        const NmVec3d a = first(p), b = second(p);
        sum += std::hypot(a.x - b.x, a.y - b.y, a.z - b.z);
        ++count;
      }
  return sum / count;
}
