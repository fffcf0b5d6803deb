#include "foundation/NmRawData.h"

#include <algorithm>
#include <type_traits>

#include "foundation/NmLogFile.h"
#include "foundation/voxelTypes.h"

namespace {

using voxreg::detail::fitsSixteenBits;
using voxreg::detail::roundToInt;

constexpr unsigned long cellsAtOnce = 64;

/// Source rows that a row of cells spans, the ends not included.
struct RowRange {
  unsigned long yFirst, yLast, zFirst, zLast;

  unsigned long count() const { return (yLast - yFirst) * (zLast - zFirst); }
};

struct CellGrid {
  unsigned long dims[3];
  unsigned long factors[3];

  unsigned long cells(int axis) const {
    return dims[axis] == 0 ? 0 : (dims[axis] - 1) / factors[axis] + 1;
  }
  unsigned long end(int axis, unsigned long cell) const {
    return std::min((cell + 1) * factors[axis], dims[axis]);
  }
  RowRange rowsOf(unsigned long j, unsigned long k) const {
    return {j * factors[1], end(1, j), k * factors[2], end(2, k)};
  }
};

/// A mean, which lies within the limits of the voxels' type.
template <class T>
T meanToVoxel(double mean) {
  if constexpr (std::is_integral_v<T>)
    return static_cast<T>(roundToInt(mean));
  else
    return static_cast<T>(mean);
}

/// `n` cells of `width` voxels a row, which begin at `x`.
struct CellRun {
  const CellGrid& grid;
  const RowRange& rows;
  unsigned long x;
  unsigned long n;
  unsigned long width;

  unsigned long voxelsPerCell() const { return width * rows.count(); }

  /// Calls `f` with each source row of the cells, from `x` on, in grid order.
  template <class T, class F>
  void forEachRow(const T* src, F&& f) const {
    for (unsigned long z = rows.zFirst; z < rows.zLast; ++z)
      for (unsigned long y = rows.yFirst; y < rows.yLast; ++y)
        f(src + grid.dims[0] * (y + grid.dims[1] * z) + x);
  }
};

template <class T>
void sumCells(const T* src, const CellRun& run, double* sums) {
  run.forEachRow(src, [&](const T* row) {
    for (unsigned long i = 0; i < run.n; ++i)
      for (unsigned long k = 0; k < run.width; ++k)
        sums[i] += static_cast<double>(row[i * run.width + k]);
  });
}

constexpr unsigned long columnsAtOnce = 512;

/// True if the columns of the cells fit into a buffer, and their sums into int.
bool canSumColumns(const CellRun& run) {
  return run.n * run.width <= columnsAtOnce && run.voxelsPerCell() <= 32768;
}

/// The same for small integers, whose sums are exact in any order: column by column first.
template <class T>
void sumColumns(const T* src, const CellRun& run, double* sums) {
  const unsigned long numColumns = run.n * run.width;
  int columns[columnsAtOnce];
  std::fill(columns, columns + numColumns, 0);
  run.forEachRow(src, [&](const T* row) {
    for (unsigned long i = 0; i < numColumns; ++i) columns[i] += row[i];
  });
  for (unsigned long i = 0; i < run.n; ++i) {
    int sum = 0;
    for (unsigned long k = 0; k < run.width; ++k) sum += columns[i * run.width + k];
    sums[i] = static_cast<double>(sum);
  }
}

template <class T>
void sum(const T* src, const CellRun& run, double* sums) {
  if constexpr (fitsSixteenBits<T>)
    if (canSumColumns(run)) return sumColumns(src, run, sums);
  sumCells(src, run, sums);
}

template <class T>
void averageRun(T* dst, const T* src, const CellRun& run) {
  double sums[cellsAtOnce] = {};
  sum(src, run, sums);
  const auto count = static_cast<double>(run.voxelsPerCell());
  for (unsigned long i = 0; i < run.n; ++i) dst[i] = meanToVoxel<T>(sums[i] / count);
}

template <class T>
void averageRow(T* dst, const T* src, const CellGrid& grid, const RowRange& rows) {
  const unsigned long factor = grid.factors[0];
  const unsigned long whole = grid.dims[0] / factor;
  for (unsigned long i = 0; i < whole; i += cellsAtOnce)
    averageRun(dst + i, src, {grid, rows, i * factor, std::min(cellsAtOnce, whole - i), factor});
  const unsigned long rest = grid.dims[0] % factor;
  if (rest > 0) averageRun(dst + whole, src, {grid, rows, whole * factor, 1, rest});
}

template <class T>
void averageCells(T* dst, const T* src, const CellGrid& grid, NmProgressInterface* progress) {
  for (unsigned long k = 0; k < grid.cells(2); ++k) {
    if (progress != nullptr) {
      progress->setProgressValue(static_cast<int>(k + 1));
      if (progress->wasInterrupted()) return;
    }
    for (unsigned long j = 0; j < grid.cells(1); ++j) {
      averageRow(dst, src, grid, grid.rowsOf(j, k));
      dst += grid.cells(0);
    }
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
