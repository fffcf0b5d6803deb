#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

#include "foundation/NmBox.h"
#include "foundation/NmVec.h"

/// The sampling walks written plainly, voxel by voxel: the kernels must reproduce them bit for bit.
namespace naive {

/// Geometry of a walk, as the kernels take it.
struct Geometry {
  NmVec3i dims;
  NmVec3i modelDims;
  NmVec3i signs;
  NmVec3d start;
  NmVec3d step[3];
  double bounds[6];

  NmBox3i grid() const { return {0, dims.x - 1, 0, dims.y - 1, 0, dims.z - 1}; }
};

inline unsigned long index(const NmVec3i& dims, long x, long y, long z) {
  return static_cast<unsigned long>(x + dims.x * (y + dims.y * z));
}

/// Trilinear sample at a model voxel position.
template <class U>
double sample(const std::vector<U>& model, const NmVec3i& d, const double position[3]) {
  long cell[3];
  double f[3];
  for (int a = 0; a < 3; ++a) {
    double p = position[a];
    const double top = d[a] - 1;
    if (!(p > 0)) p = 0;
    if (p > top) p = top;
    const long last = d[a] < 2 ? d[a] - 1 : d[a] - 2;
    cell[a] = std::min(static_cast<long>(p), last);
    f[a] = p - static_cast<double>(cell[a]);
  }
  const auto m = [&](long dx, long dy, long dz) {
    return static_cast<double>(
        model[index(d, std::min<long>(cell[0] + dx, d.x - 1), std::min<long>(cell[1] + dy, d.y - 1),
                    std::min<long>(cell[2] + dz, d.z - 1))]);
  };
  const auto plane = [&](long dz) {
    return (m(1, 1, dz) * f[0] + m(0, 1, dz) * (1 - f[0])) * f[1] +
           (m(1, 0, dz) * f[0] + m(0, 0, dz) * (1 - f[0])) * (1 - f[1]);
  };
  const double a = plane(0);
  const double b = plane(1);
  return (b - a) * f[2] + a;
}

/// Calls visit(x, y, z, modelValue) for every sample of an affine walk, in order.
template <class U, class Visit>
void affineWalk(const Geometry& g, const std::vector<U>& model, int zFirst, int zLast,
                Visit visit) {
  for (int z = zFirst; z <= zLast; ++z)
    for (int y = 0; y < g.dims.y; ++y) {
      double p[3];
      double first = 0;
      double last = g.dims.x - 1;
      for (int a = 0; a < 3; ++a) p[a] = (g.start[a] + y * g.step[1][a]) + z * g.step[2][a];
      for (int a = 0; a < 3; ++a) {
        const double lower = g.bounds[2 * a];
        const double upper = g.bounds[2 * a + 1];
        if (g.signs[a] == 2 && (p[a] < lower || p[a] > upper)) last = -1;
        if (g.signs[a] != 1 && g.signs[a] != -1) continue;
        const double in = ((g.signs[a] == 1 ? lower : upper) - p[a]) / g.step[0][a];
        const double out = ((g.signs[a] == 1 ? upper : lower) - p[a]) / g.step[0][a];
        first = std::max(first, std::trunc(in) + (in > 0 ? 1 : 0));
        last = std::min(last, std::trunc(out) - (out < 0 ? 1 : 0));
      }
      for (int x = 0; x < g.dims.x && x <= last; ++x) {
        if (x >= first) visit(x, y, z, sample(model, g.modelDims, p));
        for (int a = 0; a < 3; ++a) p[a] += g.step[0][a];
      }
    }
}

}  // namespace naive
