#include "variational/pyramid/matrixSamples.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "variational/objective/voxelMatrix.h"

namespace voxreg::detail {
namespace {

/// Two neighbours along an axis, and the weight of the second.
struct Neighbours {
  std::int64_t first = 0;
  std::int64_t second = 0;
  float fraction = 0.0f;
};

/// False where there is no value. Voxels are `stride` apart in memory.
bool findNeighbours(double position, int n, std::int64_t stride, Neighbours& found) {
  constexpr double reach = 0.5;
  if (!(position >= -reach && position <= n - 1 + reach)) return false;
  const double inside = std::clamp(position, 0.0, static_cast<double>(n - 1));
  const auto whole = static_cast<std::int64_t>(inside);
  found.first = whole * stride;
  found.fraction = static_cast<float>(inside - static_cast<double>(whole));
  found.second = found.fraction > 0.0f ? found.first + stride : found.first;
  return true;
}

float between(float a, float b, float fraction) {
  return a + fraction * (b - a);
}

}  // namespace

LevelVolume sampledThrough(const NmMat4d& referenceToModel, const LevelVolume& model,
                           const VolumeFrame& reference) {
  const VoxelMatrix matrix = voxelMatrix(referenceToModel, reference, model.frame);
  const NmVec3i& n = model.frame.dims;
  const std::int64_t strides[3] = {1, n.x, std::int64_t{n.x} * n.y};
  LevelVolume result = {{}, reference};
  result.voxels.assign(static_cast<std::size_t>(voxelCount(reference.dims)),
                       std::numeric_limits<float>::quiet_NaN());
  float* out = result.voxels.data();
  for (int z = 0; z < reference.dims.z; ++z)
    for (int y = 0; y < reference.dims.y; ++y)
      for (int x = 0; x < reference.dims.x; ++x, ++out) {
        Neighbours at[3];
        bool isInside = true;
        for (int c = 0; c < 3; ++c)
          isInside = isInside && findNeighbours(matrix.start[c] + x * matrix.step[0][c] +
                                                    y * matrix.step[1][c] + z * matrix.step[2][c],
                                                n[c], strides[c], at[c]);
        if (!isInside) continue;
        const auto row = [&](std::int64_t offset) {
          const float* const v = model.voxels.data() + offset;
          return between(v[at[0].first], v[at[0].second], at[0].fraction);
        };
        const auto slice = [&](std::int64_t offset) {
          return between(row(offset + at[1].first), row(offset + at[1].second), at[1].fraction);
        };
        *out = between(slice(at[2].first), slice(at[2].second), at[2].fraction);
      }
  return result;
}

}  // namespace voxreg::detail
