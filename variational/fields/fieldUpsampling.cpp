#include "variational/fields/fieldUpsampling.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "variational/pyramid/levelVolume.h"

namespace voxreg::detail {

namespace {

/// For each voxel of one grid along an axis, those of the other around it.
struct AxisCells {
  std::vector<int> lower;
  std::vector<int> upper;
  std::vector<float> share;  ///< of the upper one

  AxisCells(int axis, const VolumeFrame& from, const VolumeFrame& to) {
    const int last = from.dims[axis] - 1;
    const double start = from.box.min(axis);
    const double size = from.voxelSize[axis];
    for (int i = 0; i < to.dims[axis]; ++i) {
      const double world =
          static_cast<double>(to.box.min(axis)) + i * static_cast<double>(to.voxelSize[axis]);
      const double position = (world - start) / size;
      const double within =
          last > 0 && position > 0.0 ? std::min(position, static_cast<double>(last)) : 0.0;
      const int cell = std::min(static_cast<int>(within), std::max(last - 1, 0));
      lower.push_back(cell);
      upper.push_back(std::min(cell + 1, last));
      share.push_back(static_cast<float>(within - cell));
    }
  }
};

/// Voxels of `to` that a voxel of `from` measures along an axis; 1 without extents to tell.
float voxelRatio(int axis, const VolumeFrame& from, const VolumeFrame& to) {
  const float ratio = from.voxelSize[axis] / to.voxelSize[axis];
  return std::isfinite(ratio) && ratio > 0.0f ? ratio : 1.0f;
}

float between(float a, float b, float share) {
  return a + share * (b - a);
}

class Upsampling {
 public:
  Upsampling(const VolumeFrame& from, const VolumeFrame& to)
      : from_(from.dims), to_(to.dims), x_(0, from, to), y_(1, from, to), z_(2, from, to) {
    line_.resize(static_cast<std::size_t>(from.dims.x));
  }

  void run(const std::vector<float>& values, float scale, std::vector<float>& out) {
    out.resize(static_cast<std::size_t>(voxelCount(to_)));
    float* next = out.data();
    for (int z = 0; z < to_.z; ++z)
      for (int y = 0; y < to_.y; ++y, next += to_.x) {
        fillLine(values, y, z);
        putLine(scale, next);
      }
  }

 private:
  /// A line of the source at a row of the target.
  void fillLine(const std::vector<float>& values, int y, int z) {
    const auto j = static_cast<std::size_t>(y);
    const auto k = static_cast<std::size_t>(z);
    const auto row = [&](int sourceY, int sourceZ) {
      return values.data() + (std::int64_t{sourceZ} * from_.y + sourceY) * from_.x;
    };
    const float* const rows[4] = {row(y_.lower[j], z_.lower[k]), row(y_.upper[j], z_.lower[k]),
                                  row(y_.lower[j], z_.upper[k]), row(y_.upper[j], z_.upper[k])};
    for (std::size_t x = 0; x < line_.size(); ++x)
      line_[x] = between(between(rows[0][x], rows[1][x], y_.share[j]),
                         between(rows[2][x], rows[3][x], y_.share[j]), z_.share[k]);
  }

  void putLine(float scale, float* out) const {
    for (std::size_t x = 0; x < x_.share.size(); ++x)
      out[x] = scale * between(line_[static_cast<std::size_t>(x_.lower[x])],
                               line_[static_cast<std::size_t>(x_.upper[x])], x_.share[x]);
  }

  NmVec3i from_;
  NmVec3i to_;
  AxisCells x_;
  AxisCells y_;
  AxisCells z_;
  std::vector<float> line_;
};

}  // namespace

VoxelField upsampled(const VoxelField& field, const VolumeFrame& from, const VolumeFrame& to) {
  VoxelField result = {to.dims, {}};
  Upsampling upsampling(from, to);
  for (int c = 0; c < 3; ++c)
    upsampling.run(field.along[c], voxelRatio(c, from, to), result.along[c]);
  return result;
}

}  // namespace voxreg::detail
