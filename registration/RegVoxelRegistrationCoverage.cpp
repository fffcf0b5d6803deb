#include <algorithm>
#include <cmath>
#include <cstdint>

#include "foundation/NmLogFile.h"
#include "foundation/voxels/volumeFrame.h"
#include "functional/families/metricFamily.h"
#include "registration/RegVoxelRegistration.h"

namespace {

NmVec3d extentsOf(const VlData& volume) {
  const NmBox3f box = voxreg::detail::boxOf(volume);
  return {std::abs(box.extent(0)), std::abs(box.extent(1)), std::abs(box.extent(2))};
}

/// Share of the reference that a model of these extents can cover at best; 1.0 where the reference
/// has no volume. An axis without extent is left out where it is the flat one.
double coverageByExtent(const NmVec3d& reference, const NmVec3d& model, int flatAxis) {
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

std::int64_t countInRange(const NmDArray<float>& row, std::int64_t stride, float min, float max) {
  std::int64_t count = 0;
  for (std::int64_t i = 0; i < row.size; i += stride)
    if (row[i] >= min && row[i] <= max) ++count;
  return count;
}

/// Share of a volume's voxels whose first data variable lies in the range. A row that can't be read
/// counts as in range.
double shareInRange(const VlData& volume, const VlDataAccess& access, float min, float max) {
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
      count += access.row(-1, y, z, row.data).isOk() ? countInRange(row, stride, min, max) : dims.x;
  return static_cast<double>(count) / all;
}

}  // namespace

void RegVoxelRegistration::calculateMaxCoverage() {
  if (!hasVolumes()) return;
  const double byExtent =
      coverageByExtent(extentsOf(*reference[0]), extentsOf(*model[0]), orientation);
  if (byExtent < 1.0) maxCoverage = byExtent;
  const auto* const row = voxreg::detail::metricRow(metricKind);
  if (row == nullptr || !row->family.rangeIsCoverage) return;
  const NmHandle<VlDataAccess> access = reference[0]->lock(false);
  if (access == nullptr) return;
  const double inRange = shareInRange(*reference[0], *access, minRef, maxRef);
  if (!(maxCoverage > inRange)) return;
  if (restrictedMotion) getTheLogInstance().printf("max coverage (range): %.3f", inRange);
  maxCoverage = inRange;
}
