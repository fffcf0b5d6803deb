#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

#include "files/niftiVolume.h"
#include "tests/apps/testFiles.h"
#include "tests/support/volumeValues.h"

/// Files whose voxels hold the world's x + 2 y + 3 z of their centres.
namespace worldRamp {

inline double valueAt(const NmVec3d& world) {
  return world.x + 2.0 * world.y + 3.0 * world.z;
}

inline std::string bytes(const nifti_1_header& header) {
  std::vector<float> voxels;
  for (int k = 0; k < header.dim[3]; ++k)
    for (int j = 0; j < header.dim[2]; ++j)
      for (int i = 0; i < header.dim[1]; ++i) {
        const auto along = [&](const float(&row)[4]) {
          return static_cast<double>(row[0]) * i + static_cast<double>(row[1]) * j +
                 static_cast<double>(row[2]) * k + static_cast<double>(row[3]);
        };
        voxels.push_back(static_cast<float>(
            valueAt({along(header.srow_x), along(header.srow_y), along(header.srow_z)})));
      }
  return bytesOf(header, voxels);
}

/// Largest error of a volume's voxels, `rim` of them on each side left out.
inline double worstError(const host::NiftiVolume& volume, long rim = 0) {
  const std::vector<float> values = valuesOf(*volume.image.volume());
  const NmVec3l dims = volume.image.dims();
  const NmVec3f spacing = volume.image.volume()->voxelSpacing();
  const NmBox3f& box = volume.image.frame().box;
  double worst = 0.0;
  for (long z = rim; z < dims.z - rim; ++z)
    for (long y = rim; y < dims.y - rim; ++y)
      for (long x = rim; x < dims.x - rim; ++x) {
        NmVec3d p(box.xmin + static_cast<double>(x) * spacing.x,
                  box.ymin + static_cast<double>(y) * spacing.y,
                  box.zmin + static_cast<double>(z) * spacing.z);
        volume.image.frame().toWorld.multVecMatrix(p, p);
        const float value = values[static_cast<std::size_t>(x + dims.x * (y + dims.y * z))];
        worst = std::max(worst, std::abs(valueAt(p) - value));
      }
  return worst;
}

/// Calls f(header, angle) for axes along the world's in any order and direction, straight and
/// turned by `angle` about an oblique axis, with 5 x 4 x 3 voxels of 2, 3 and 4 mm.
template <class F>
void forEachOrientation(F f) {
  int order[3] = {0, 1, 2};
  do {
    for (int flips = 0; flips < 8; ++flips)
      for (const double angle : {0.0, 0.35}) {
        const double c = std::cos(angle), s = std::sin(angle);
        NmMat4d turn(c, s, 0, 0, -s, c, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1);
        turn.multRight(NmMat4d(1, 0, 0, 0, 0, c, s, 0, 0, -s, c, 0, 0, 0, 0, 1));
        float rows[3][4] = {{0, 0, 0, 10}, {0, 0, 0, 20}, {0, 0, 0, 30}};
        for (int a = 0; a < 3; ++a)
          for (int w = 0; w < 3; ++w)
            rows[w][a] =
                static_cast<float>((flips >> a & 1 ? -2.0 - a : 2.0 + a) * turn.m[order[a]][w]);
        nifti_1_header header = makeHeader(5, 4, 3, DT_FLOAT32, 32);
        place(header, rows);
        SCOPED_TRACE(testing::Message() << order[0] << order[1] << order[2] << " flips " << flips);
        f(header, angle);
      }
  } while (std::next_permutation(order, order + 3));
}

}  // namespace worldRamp
