#include "registration/coverage.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "foundation/NmDArray.h"
#include "foundation/VlData.h"
#include "foundation/voxels/volumeFrame.h"

namespace voxreg::detail {
namespace {

NmVec3d extentsOf(const VlData& volume) {
  const NmBox3f box = boxOf(volume);
  return {std::abs(box.extent(0)), std::abs(box.extent(1)), std::abs(box.extent(2))};
}

std::int64_t countInRange(const NmDArray<float>& row, std::int64_t stride, float min, float max) {
  std::int64_t count = 0;
  for (std::int64_t i = 0; i < row.size; i += stride)
    if (row[i] >= min && row[i] <= max) ++count;
  return count;
}

}  // namespace

double coverageByExtent(const VlData& referenceVolume, const VlData& modelVolume, int flatAxis) {
  const NmVec3d reference = extentsOf(referenceVolume);
  const NmVec3d model = extentsOf(modelVolume);
  double volume = 1.0;
  double coverage = 1.0;
  for (int axis = 0; axis < 3; ++axis) {
    if (axis == flatAxis) continue;
    volume *= reference[axis];
    if (reference[axis] > model[axis] && reference[axis] > 0.0)
      coverage *= model[axis] / reference[axis];
  }
  return volume > 0.0 ? coverage : 1.0;
}

std::optional<double> shareInRange(VlData& volume, float min, float max) {
  const NmHandle<VlDataAccess> access = volume.lock(false);
  if (access == nullptr) return std::nullopt;
  const NmVec3l dims = volume.dims();
  const double all =
      static_cast<double>(dims.x) * static_cast<double>(dims.y) * static_cast<double>(dims.z);
  if (!(all > 0.0)) return 1.0;
  const std::int64_t stride = std::max(volume.numDataVars(), 1);
  NmDArray<float> row;
  row.resize(dims.x * stride);
  std::int64_t count = 0;
  for (std::int64_t z = 0; z < dims.z; ++z)
    for (std::int64_t y = 0; y < dims.y; ++y)
      count +=
          access->row(-1, y, z, row.data).isOk() ? countInRange(row, stride, min, max) : dims.x;
  return static_cast<double>(count) / all;
}

}  // namespace voxreg::detail
