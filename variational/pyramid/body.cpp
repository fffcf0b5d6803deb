#include "variational/pyramid/body.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace voxreg::detail {
namespace {

constexpr int reach = 2;  // voxels

using Mask = std::vector<unsigned char>;

/// Widens a mask by `reach` voxels along one axis.
Mask widened(const Mask& mask, const NmVec3i& dims, int axis) {
  std::int64_t step = 1;
  for (int a = 0; a < axis; ++a) step *= dims[a];
  const std::int64_t block = step * dims[axis];
  const auto size = static_cast<std::int64_t>(mask.size());
  Mask result = mask;
  for (std::int64_t first = 0; first < size; first += block)
    for (int d = 1; d <= reach && d < dims[axis]; ++d) {
      const std::int64_t shift = d * step;
      const unsigned char* const from = mask.data() + first;
      unsigned char* const to = result.data() + first;
      for (std::int64_t i = 0; i + shift < block; ++i) {
        to[i] |= from[i + shift];
        to[i + shift] |= from[i];
      }
    }
  return result;
}

}  // namespace

float bodyThreshold(const std::vector<float>& voxels) {
  constexpr std::size_t mostSampled = 200'000;
  const std::size_t step = voxels.size() / mostSampled + 1;
  std::vector<float> sampled;
  sampled.reserve(voxels.size() / step + 1);
  for (std::size_t i = 0; i < voxels.size(); i += step)
    if (std::isfinite(voxels[i])) sampled.push_back(voxels[i]);
  if (sampled.empty()) return std::numeric_limits<float>::quiet_NaN();
  const auto percentile = [&](std::size_t percent) {
    const auto at =
        sampled.begin() + static_cast<std::ptrdiff_t>((sampled.size() - 1) * percent / 100);
    std::nth_element(sampled.begin(), at, sampled.end());
    return *at;
  };
  const float low = percentile(2);
  const float high = percentile(98);
  return low + 0.1f * (high - low);
}

void skipFarFromBody(float threshold, LevelVolume& volume) {
  Mask mask(volume.voxels.size());
  for (std::size_t i = 0; i < mask.size(); ++i) mask[i] = volume.voxels[i] > threshold ? 1 : 0;
  for (int axis = 0; axis < 3; ++axis) mask = widened(mask, volume.frame.dims, axis);
  for (std::size_t i = 0; i < mask.size(); ++i)
    if (mask[i] == 0) volume.voxels[i] = std::numeric_limits<float>::quiet_NaN();
}

std::vector<IndexSpan> countingSpans(const LevelVolume& volume) {
  const NmVec3i& dims = volume.frame.dims;
  std::vector<IndexSpan> spans;
  spans.reserve(static_cast<std::size_t>(std::int64_t{dims.y} * dims.z));
  const float* row = volume.voxels.data();
  for (std::int64_t r = 0; r < std::int64_t{dims.y} * dims.z; ++r, row += dims.x) {
    IndexSpan span = {0, dims.x};
    while (span.end > 0 && !std::isfinite(row[span.end - 1])) --span.end;
    while (span.first < span.end && !std::isfinite(row[span.first])) ++span.first;
    spans.push_back(span);
  }
  return spans;
}

}  // namespace voxreg::detail
