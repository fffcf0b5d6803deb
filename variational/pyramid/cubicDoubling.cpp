#include "variational/pyramid/cubicDoubling.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>

namespace voxreg::detail {
namespace {

constexpr int leastVoxels = 4;

/// Lines that are filtered together; neighbours in memory, except along x.
constexpr int bundle = 16;

/// Coefficients of the interpolating spline in place, for `bundle` lines side by side of n samples
/// that are mirrored at both ends (M. Unser, A. Aldroubi and M. Eden, B-spline signal processing,
/// part II, 1993).
void toCoefficients(float* line, int n) {
  const float pole = std::sqrt(3.0f) - 2.0f;
  constexpr int reach = 16;  // pole^16 is below the last bit of a float
  float first[bundle] = {};
  const int last = std::min(n - 1, reach);
  for (int k = last; k >= 0; --k)
    for (int i = 0; i < bundle; ++i) first[i] = line[k * bundle + i] + pole * first[i];
  for (int i = 0; i < bundle; ++i) line[i] = first[i];
  for (int k = 1; k < n; ++k)
    for (int i = 0; i < bundle; ++i) line[k * bundle + i] += pole * line[(k - 1) * bundle + i];
  float* const end = line + (n - 1) * bundle;
  for (int i = 0; i < bundle; ++i)
    end[i] = pole / (pole * pole - 1.0f) * (pole * end[i - bundle] + end[i]);
  for (int k = n - 2; k >= 0; --k)
    for (int i = 0; i < bundle; ++i)
      line[k * bundle + i] = pole * (line[(k + 1) * bundle + i] - line[k * bundle + i]);
}

/// The spline between samples k and k + 1: (c[k-1] + 23 c[k] + 23 c[k+1] + c[k+2]) / 48, of
/// coefficients a sixth of which toCoefficients has made.
void between(const float* coefficients, int n, int k, float* out) {
  const auto at = [&](int j) {
    const int mirrored = j < 0 ? -j : j >= n ? 2 * n - 2 - j : j;
    return coefficients + mirrored * bundle;
  };
  const float* const a = at(k - 1);
  const float* const b = at(k);
  const float* const c = at(k + 1);
  const float* const d = at(k + 2);
  for (int i = 0; i < bundle; ++i)
    out[i] = ((a[i] + d[i]) + 23.0f * (b[i] + c[i])) * (6.0f / 48.0f);
}

/// Some lines along one axis, from a volume to its doubled one.
struct Lines {
  const float* from;
  float* to;
  std::int64_t step;       ///< from voxel to voxel, in both volumes
  std::int64_t fromLines;  ///< from line to line
  std::int64_t toLines;
  int count;  ///< at most `bundle`
  int n;      ///< voxels of a line in `from`
};

/// Splines need values everywhere: those of voxels that do not count become their neighbours'.
void fillMissing(float* line, int n) {
  for (int i = 0; i < bundle; ++i) {
    float before = 0.0f;
    for (int k = n - 1; k >= 0; --k)
      if (std::isfinite(line[k * bundle + i])) before = line[k * bundle + i];
    for (int k = 0; k < n; ++k) {
      float& value = line[k * bundle + i];
      if (std::isfinite(value))
        before = value;
      else
        value = before;
    }
  }
}

void doubleLines(const Lines& lines, std::vector<float>& work) {
  work.assign(static_cast<std::size_t>(bundle) * static_cast<std::size_t>(lines.n), 0.0f);
  float* const line = work.data();
  bool isComplete = true;
  for (int k = 0; k < lines.n; ++k)
    for (int i = 0; i < lines.count; ++i) {
      const float value = lines.from[k * lines.step + i * lines.fromLines];
      line[k * bundle + i] = value;
      isComplete = isComplete && std::isfinite(value);
      lines.to[2 * k * lines.step + i * lines.toLines] = value;
    }
  if (!isComplete) fillMissing(line, lines.n);
  toCoefficients(line, lines.n);
  float middle[bundle];
  for (int k = 0; k + 1 < lines.n; ++k) {
    between(line, lines.n, k, middle);
    for (int i = 0; i < lines.count; ++i) {
      const float* const neighbours = lines.from + k * lines.step + i * lines.fromLines;
      const bool counts =
          isComplete || (std::isfinite(neighbours[0]) && std::isfinite(neighbours[lines.step]));
      lines.to[(2 * k + 1) * lines.step + i * lines.toLines] =
          counts ? middle[i] : std::numeric_limits<float>::quiet_NaN();
    }
  }
}

LevelVolume doubledAlong(const LevelVolume& volume, int axis) {
  NmVec3i dims = volume.frame.dims;
  const int n = dims[axis];
  dims[axis] = 2 * n - 1;
  LevelVolume result = {{}, VolumeFrame(dims, volume.frame.box)};
  result.voxels.resize(static_cast<std::size_t>(voxelCount(dims)));
  std::int64_t step = 1;
  for (int a = 0; a < axis; ++a) step *= dims[a];
  const std::int64_t fromBlock = step * n;
  const std::int64_t toBlock = step * dims[axis];
  const std::int64_t blocks = voxelCount(volume.frame.dims) / fromBlock;
  std::vector<float> work;
  // Along x a block is one line, and neighbouring lines are neighbouring blocks.
  const bool alongX = step == 1;
  const std::int64_t outer = alongX ? 1 : blocks;
  const std::int64_t numLines = alongX ? blocks : step;
  for (std::int64_t b = 0; b < outer; ++b)
    for (std::int64_t first = 0; first < numLines; first += bundle) {
      const std::int64_t fromLine = alongX ? fromBlock : 1;
      const std::int64_t toLine = alongX ? toBlock : 1;
      doubleLines({volume.voxels.data() + b * fromBlock + first * fromLine,
                   result.voxels.data() + b * toBlock + first * toLine, step, fromLine, toLine,
                   static_cast<int>(std::min<std::int64_t>(bundle, numLines - first)), n},
                  work);
    }
  return result;
}

}  // namespace

LevelVolume doubledVolume(const LevelVolume& volume) {
  LevelVolume result = volume;
  for (int axis = 0; axis < 3; ++axis)
    if (volume.frame.dims[axis] >= leastVoxels) result = doubledAlong(result, axis);
  return result;
}

}  // namespace voxreg::detail
