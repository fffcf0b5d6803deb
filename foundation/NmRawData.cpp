#include "foundation/NmRawData.h"

#include <algorithm>
#include <cstdint>
#include <type_traits>

#include "foundation/NmLogFile.h"
#include "foundation/voxels/voxelTypes.h"

namespace {

using voxreg::detail::fitsSixteenBits;
using voxreg::detail::roundToInt;

constexpr std::uint64_t cellsAtOnce = 64;

/// Source rows that a row of cells spans; the ends are exclusive.
struct SourceRows {
  std::uint64_t yFirst, yEnd, zFirst, zEnd;

  std::uint64_t count() const { return (yEnd - yFirst) * (zEnd - zFirst); }
};

struct CellGrid {
  std::uint64_t dims[3];
  std::uint64_t factors[3];

  std::uint64_t cells(int axis) const {
    return dims[axis] == 0 ? 0 : (dims[axis] - 1) / factors[axis] + 1;
  }
  std::uint64_t end(int axis, std::uint64_t cell) const {
    return std::min((cell + 1) * factors[axis], dims[axis]);
  }
  SourceRows rowsOf(std::uint64_t j, std::uint64_t k) const {
    return {j * factors[1], end(1, j), k * factors[2], end(2, k)};
  }
};

/// A mean, which is always within the limits of the voxel type.
template <class T>
T meanToVoxel(double mean) {
  if constexpr (std::is_integral_v<T>)
    return static_cast<T>(roundToInt(mean));
  else
    return static_cast<T>(mean);
}

/// `n` cells of `width` voxels per row, starting at `x`.
struct CellRun {
  const CellGrid& grid;
  const SourceRows& rows;
  std::uint64_t x;
  std::uint64_t n;
  std::uint64_t width;

  std::uint64_t voxelsPerCell() const { return width * rows.count(); }

  /// Calls `f` with each source row of the cells, starting at `x`, in grid order.
  template <class T, class F>
  void forEachRow(const T* src, F&& f) const {
    for (std::uint64_t z = rows.zFirst; z < rows.zEnd; ++z)
      for (std::uint64_t y = rows.yFirst; y < rows.yEnd; ++y)
        f(src + grid.dims[0] * (y + grid.dims[1] * z) + x);
  }
};

template <class T>
void sumCells(const T* src, const CellRun& run, double* sums) {
  run.forEachRow(src, [&](const T* row) {
    for (std::uint64_t i = 0; i < run.n; ++i)
      for (std::uint64_t k = 0; k < run.width; ++k)
        sums[i] += static_cast<double>(row[i * run.width + k]);
  });
}

constexpr std::uint64_t columnsAtOnce = 512;

/// True if the columns of the cells fit into a buffer, and their sums into int.
bool canSumColumns(const CellRun& run) {
  return run.n * run.width <= columnsAtOnce && run.voxelsPerCell() <= 32768;
}

/// The same for small integers, whose sums are exact in any order: sums columns first.
template <class T>
void sumColumns(const T* src, const CellRun& run, double* sums) {
  const std::uint64_t numColumns = run.n * run.width;
  int columns[columnsAtOnce];
  std::fill(columns, columns + numColumns, 0);
  run.forEachRow(src, [&](const T* row) {
    for (std::uint64_t i = 0; i < numColumns; ++i) columns[i] += row[i];
  });
  for (std::uint64_t i = 0; i < run.n; ++i) {
    int sum = 0;
    for (std::uint64_t k = 0; k < run.width; ++k) sum += columns[i * run.width + k];
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
  for (std::uint64_t i = 0; i < run.n; ++i) dst[i] = meanToVoxel<T>(sums[i] / count);
}

template <class T>
void averageRow(T* dst, const T* src, const CellGrid& grid, const SourceRows& rows) {
  const std::uint64_t factor = grid.factors[0];
  const std::uint64_t whole = grid.dims[0] / factor;
  for (std::uint64_t i = 0; i < whole; i += cellsAtOnce)
    averageRun(dst + i, src, {grid, rows, i * factor, std::min(cellsAtOnce, whole - i), factor});
  const std::uint64_t rest = grid.dims[0] % factor;
  if (rest > 0) averageRun(dst + whole, src, {grid, rows, whole * factor, 1, rest});
}

template <class T>
void averageCells(T* dst, const T* src, const CellGrid& grid, NmProgressInterface* progress) {
  for (std::uint64_t k = 0; k < grid.cells(2); ++k) {
    if (progress != nullptr) {
      progress->setProgressValue(static_cast<int>(k + 1));
      if (progress->wasInterrupted()) return;
    }
    for (std::uint64_t j = 0; j < grid.cells(1); ++j) {
      averageRow(dst, src, grid, grid.rowsOf(j, k));
      dst += grid.cells(0);
    }
  }
}

}  // namespace

void NmRawData::downSample3D(void* dst, NmTypedPointer src, std::uint64_t nx, std::uint64_t ny,
                             std::uint64_t nz, int fx, int fy, int fz,
                             NmProgressInterface* progress) {
  const bool valid = dst != nullptr && src.data != nullptr && fx >= 1 && fy >= 1 && fz >= 1;
  const CellGrid grid = {{nx, ny, nz},
                         {static_cast<std::uint64_t>(fx), static_cast<std::uint64_t>(fy),
                          static_cast<std::uint64_t>(fz)}};
  const auto average = [&]<class T>() {
    averageCells(static_cast<T*>(dst), static_cast<const T*>(src.data), grid, progress);
  };
  if (!valid || !voxreg::detail::withVoxelType(src.type, average))
    getTheLogInstance().errorf(
        "downSample3D: voxels of type %d by factors %d %d %d are not supported",
        static_cast<int>(src.type), fx, fy, fz);
}
