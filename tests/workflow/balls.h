#pragma once

#include <voxreg.h>

#include <cmath>
#include <vector>

/// Positions of the voxels of a 24 x 26 x 28 grid that fills about 70 mm around the world's origin.
inline const NmVec3l ballDims(24, 26, 28);

inline NmMat4d placed(const NmMat4d& axes) {
  NmMat4d matrix = axes;
  for (int w = 0; w < 3; ++w) {
    matrix.m[3][w] = 0.0;
    for (int a = 0; a < 3; ++a)
      matrix.m[3][w] -= 0.5 * static_cast<double>(ballDims[a] - 1) * axes.m[a][w];
  }
  return matrix;
}

/// Two blurred balls in air, sampled at the voxels' positions: at p there is what is at p * toRest
/// at rest.
inline std::vector<float> balls(const NmMat4d& voxelToWorld, const NmMat4d& toRest) {
  std::vector<float> voxels;
  for (long k = 0; k < ballDims.z; ++k)
    for (long j = 0; j < ballDims.y; ++j)
      for (long i = 0; i < ballDims.x; ++i) {
        NmVec3d p(static_cast<double>(i), static_cast<double>(j), static_cast<double>(k));
        voxelToWorld.multVecMatrix(p, p);
        toRest.multVecMatrix(p, p);
        const double large = std::hypot((p.x - 4) / 18, (p.y + 2) / 14, (p.z - 1) / 22);
        const double small = std::hypot((p.x + 12) / 7, (p.y - 9) / 6, (p.z + 10) / 8);
        voxels.push_back(static_cast<float>(100.0 / (1.0 + std::exp(9.0 * (large - 1.0))) +
                                            80.0 / (1.0 + std::exp(5.0 * (small - 1.0)))));
      }
  return voxels;
}
