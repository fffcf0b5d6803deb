#include "variational/pyramid/levelVolume.h"

#include <cmath>
#include <cstdint>
#include <limits>

#include "functional/kernels/walk.h"

namespace voxreg::detail {
namespace {

/// Sums and counts of the blocks along one row of blocks.
struct BlockRow {
  std::vector<double> sums;
  std::vector<float> counts;
};

/// Adds one row of voxels.
template <class T>
void addRow(const T* voxels, const unsigned char* mask, int factor, BlockRow& row) {
  std::int64_t at = 0;
  for (std::size_t block = 0; block < row.sums.size(); ++block) {
    double sum = 0.0;
    float count = 0.0f;
    for (int i = 0; i < factor; ++i, ++at) {
      const auto value = static_cast<double>(voxels[at]);
      const bool counts = std::isfinite(value) && (mask == nullptr || mask[at] != 0);
      sum += counts ? value : 0.0;
      count += counts ? 1.0f : 0.0f;
    }
    row.sums[block] += sum;
    row.counts[block] += count;
  }
}

template <class T>
void reduce(const SearchVolume& volume, const NmVec3i& factors, LevelVolume& level) {
  const NmVec3i& dims = volume.frame.dims;
  const NmVec3i& blocks = level.frame.dims;
  const auto along = static_cast<std::size_t>(blocks.x);
  float* out = level.voxels.data();
  for (int z = 0; z < blocks.z; ++z)
    for (int y = 0; y < blocks.y; ++y) {
      BlockRow row = {std::vector<double>(along, 0.0), std::vector<float>(along, 0.0f)};
      for (int k = 0; k < factors.z; ++k)
        for (int j = 0; j < factors.y; ++j) {
          const std::int64_t first =
              dims.x * (y * factors.y + j + std::int64_t{dims.y} * (z * factors.z + k));
          addRow(static_cast<const T*>(volume.voxels) + first,
                 volume.mask != nullptr ? volume.mask + first : nullptr, factors.x, row);
        }
      for (std::size_t block = 0; block < along; ++block)
        *out++ = row.counts[block] > 0.0f
                     ? static_cast<float>(row.sums[block] / static_cast<double>(row.counts[block]))
                     : std::numeric_limits<float>::quiet_NaN();
    }
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

}  // namespace

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
