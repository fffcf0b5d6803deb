#include "variational/pyramid/levelVolume.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "functional/kernels/walk.h"

namespace voxreg::detail {
namespace {

constexpr double largestNumber = std::numeric_limits<double>::max();

/// Sums over the rows of voxels that a row of blocks takes.
struct RowSums {
  std::vector<double> values;
  std::vector<float> counts;  ///< of voxels that count
};

/// Adds one row of voxels; `mask` may be null.
template <class T>
void addRow(const T* voxels, const unsigned char* mask, RowSums& row) {
  const std::size_t n = row.values.size();
  for (std::size_t i = 0; i < n; ++i) {
    const auto value = static_cast<double>(voxels[i]);
    const bool counts = std::is_integral_v<T> || std::abs(value) <= largestNumber;
    row.values[i] += counts ? value : 0.0;
    row.counts[i] += counts ? 1.0f : 0.0f;
  }
  for (std::size_t i = 0; i < n && mask != nullptr; ++i)
    if (mask[i] == 0 && std::abs(static_cast<double>(voxels[i])) <= largestNumber) {
      row.values[i] -= static_cast<double>(voxels[i]);
      row.counts[i] -= 1.0f;
    }
}

/// The means of a row of blocks.
void takeMeans(const RowSums& row, int factor, int blocks, float* out) {
  const double* value = row.values.data();
  const float* count = row.counts.data();
  for (int block = 0; block < blocks; ++block) {
    double sum = 0.0;
    float number = 0.0f;
    for (int i = 0; i < factor; ++i) {
      sum += *value++;
      number += *count++;
    }
    out[block] = number > 0.0f ? static_cast<float>(sum / static_cast<double>(number))
                               : std::numeric_limits<float>::quiet_NaN();
  }
}

template <class T>
void reduce(const SearchVolume& volume, const NmVec3i& factors, LevelVolume& level) {
  const NmVec3i& dims = volume.frame.dims;
  const NmVec3i& blocks = level.frame.dims;
  const auto n = static_cast<std::size_t>(std::int64_t{blocks.x} * factors.x);
  RowSums row;
  float* out = level.voxels.data();
  for (int z = 0; z < blocks.z; ++z)
    for (int y = 0; y < blocks.y; ++y, out += blocks.x) {
      row.values.assign(n, 0.0);
      row.counts.assign(n, 0.0f);
      for (int k = 0; k < factors.z; ++k)
        for (int j = 0; j < factors.y; ++j) {
          const std::int64_t first =
              dims.x * (y * factors.y + j + std::int64_t{dims.y} * (z * factors.z + k));
          addRow(static_cast<const T*>(volume.voxels) + first,
                 volume.mask != nullptr ? volume.mask + first : nullptr, row);
        }
      takeMeans(row, factors.x, blocks.x, out);
    }
}

/// Filters the lines of `n` voxels along one axis, in place; successive voxels are `step` apart.
void smoothLine(float* line, int n, std::int64_t step, std::vector<float>& before) {
  before.resize(static_cast<std::size_t>(n));
  for (int i = 0; i < n; ++i) before[static_cast<std::size_t>(i)] = line[i * step];
  for (int i = 0; i < n; ++i) {
    float sum = 0.0f;
    float weights = 0.0f;
    for (int d = -1; d <= 1; ++d) {
      if (i + d < 0 || i + d >= n) continue;
      const float value = *(before.data() + i + d);
      const float weight = std::isfinite(value) ? (d == 0 ? 2.0f : 1.0f) : 0.0f;
      sum += weight > 0.0f ? weight * value : 0.0f;
      weights += weight;
    }
    if (std::isfinite(line[i * step])) line[i * step] = sum / weights;
  }
}

}  // namespace

LevelVolume smoothedVolume(const LevelVolume& volume) {
  LevelVolume result = volume;
  std::vector<float> before;
  const NmVec3i& dims = volume.frame.dims;
  std::int64_t step = 1;
  for (int axis = 0; axis < 3; ++axis) {
    const std::int64_t block = step * dims[axis];
    for (std::int64_t first = 0; first < voxelCount(dims); first += block)
      for (std::int64_t s = 0; s < step; ++s)
        smoothLine(result.voxels.data() + first + s, dims[axis], step, before);
    step = block;
  }
  return result;
}

VolumeFrame reducedFrame(const VolumeFrame& frame, const NmVec3i& factors) {
  NmVec3i dims;
  float box[6];
  for (int a = 0; a < 3; ++a) {
    dims[a] = frame.dims[a] / factors[a];
    const double size = static_cast<double>(frame.voxelSize[a]);
    const double first = static_cast<double>(frame.box.min(a)) + 0.5 * (factors[a] - 1) * size;
    box[2 * a] = static_cast<float>(first);
    box[2 * a + 1] = static_cast<float>(first + (dims[a] - 1) * factors[a] * size);
    if (frame.dims[a] == 1) box[2 * a + 1] = frame.box.max(a);
  }
  return {dims, NmBox3f(box[0], box[1], box[2], box[3], box[4], box[5])};
}

std::int64_t voxelCount(const NmVec3i& dims) {
  return std::int64_t{dims.x} * dims.y * dims.z;
}

LevelVolume reducedVolume(const SearchVolume& volume, const NmVec3i& factors) {
  using Reduce = void (*)(const SearchVolume&, const NmVec3i&, LevelVolume&);
  static constexpr Reduce reduceAs[numVoxelTypes] = {reduce<unsigned char>,  reduce<short>,
                                                     reduce<unsigned short>, reduce<int>,
                                                     reduce<float>,          reduce<double>};
  LevelVolume level = {{}, reducedFrame(volume.frame, factors)};
  level.voxels.resize(static_cast<std::size_t>(voxelCount(level.frame.dims)));
  reduceAs[volume.type](volume, factors, level);
  return level;
}

}  // namespace voxreg::detail
