#include "foundation/NmRawData.h"

#include <algorithm>

#include "foundation/NmLogFile.h"
#include "foundation/voxelTypes.h"

namespace {

using voxreg::detail::toVoxel;

struct CellGrid {
  unsigned long dims[3];
  unsigned long factors[3];

  unsigned long cells(int axis) const {
    return dims[axis] == 0 ? 0 : (dims[axis] - 1) / factors[axis] + 1;
  }
};

template <class T>
T cellMean(const T* src, const CellGrid& grid, unsigned long i, unsigned long j, unsigned long k) {
  const auto& n = grid.dims;
  const auto& f = grid.factors;
  const unsigned long xEnd = std::min((i + 1) * f[0], n[0]);
  const unsigned long yEnd = std::min((j + 1) * f[1], n[1]);
  const unsigned long zEnd = std::min((k + 1) * f[2], n[2]);
  double sum = 0.0;
  for (unsigned long z = k * f[2]; z < zEnd; ++z)
    for (unsigned long y = j * f[1]; y < yEnd; ++y) {
      const T* const row = src + n[0] * (y + n[1] * z);
      for (unsigned long x = i * f[0]; x < xEnd; ++x) sum += static_cast<double>(row[x]);
    }
  const unsigned long count = (xEnd - i * f[0]) * (yEnd - j * f[1]) * (zEnd - k * f[2]);
  return toVoxel<T>(sum / static_cast<double>(count));
}

template <class T>
void averageCells(T* dst, const T* src, const CellGrid& grid, NmProgressInterface* progress) {
  for (unsigned long k = 0; k < grid.cells(2); ++k) {
    if (progress != nullptr) {
      progress->setProgressValue(static_cast<int>(k + 1));
      if (progress->wasInterrupted()) return;
    }
    for (unsigned long j = 0; j < grid.cells(1); ++j)
      for (unsigned long i = 0; i < grid.cells(0); ++i) *dst++ = cellMean(src, grid, i, j, k);
  }
}

}  // namespace

void NmRawData::downSample3D(void* dst, NmTypedPointer src, unsigned long nx, unsigned long ny,
                             unsigned long nz, int fx, int fy, int fz,
                             NmProgressInterface* progress) {
  const bool valid = dst != nullptr && src.data != nullptr && fx >= 1 && fy >= 1 && fz >= 1;
  const CellGrid grid = {{nx, ny, nz},
                         {static_cast<unsigned long>(fx), static_cast<unsigned long>(fy),
                          static_cast<unsigned long>(fz)}};
  const auto average = [&]<class T>() {
    averageCells(static_cast<T*>(dst), static_cast<const T*>(src.data), grid, progress);
  };
  if (!valid || !voxreg::detail::withVoxelType(src.type, average))
    getTheLogInstance().errorf("downSample3D: voxels of type %d by factors %d %d %d are not served",
                               static_cast<int>(src.type), fx, fy, fz);
}
