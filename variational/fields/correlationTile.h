#pragma once

#include <cstdint>
#include <vector>

#include "foundation/NmVec.h"
#include "functional/kernels/walk.h"
#include "variational/fields/localCorrelationKernels.h"

namespace voxreg::detail {

/// Where windows have something to add, for each row of voxels, y fastest.
struct CorrelationSpans {
  std::vector<IndexSpan> counting;  ///< from the first to the last voxel that counts
  std::vector<IndexSpan> beside;    ///< what windows around these reach of this slice
  std::vector<IndexSpan> around;    ///< what windows around these of any slice reach
};

/// What the tiles of a volume share. Nothing is owned.
struct CorrelationFrame {
  const LocalCorrelationKernels& kernels;
  const CorrelationSpans& spans;
  NmVec3i dims;
  int radius;
  CorrelationRule rule;
  const float* reference;
  const float* warped;
  const unsigned char* counts;  ///< null: all voxels count
  float* force[3];              ///< null: not wanted
};

struct CorrelationSum {
  double squares = 0.0;
  std::int64_t counted = 0;
};

/// Rows of voxels with zeros in place of those outside the volume, in slots that are used in turn.
class RowRing {
 public:
  RowRing(int rowSize, int rowsPerSlot, int slots);

  /// The first voxel's value, on a cache line, with zeros on either side of the row.
  float* row(int row, int slot) {
    return blocks_[static_cast<std::size_t>(rowBlocks_ * (slot * std::int64_t{rows_} + row) + 1)]
        .values;
  }
  /// From the first voxel of a row to that of the next.
  long stride() const { return static_cast<long>(rowBlocks_ * rowBlock); }

 private:
  struct alignas(64) Block {
    float values[rowBlock] = {};
  };

  std::int64_t rowBlocks_;
  int rows_;
  std::vector<Block> blocks_;
};

/// The windows of some rows of all slices, slice by slice. Slices that are in use are kept in
/// rings, and their sums are formed anew for each slice, so that nothing is left of values that
/// have gone. A tile of a volume is small enough for the cache.
class CorrelationTile {
 public:
  /// Rows `rows` along y.
  CorrelationTile(const CorrelationFrame& frame, const IndexSpan& rows);

  CorrelationSum run();

 private:
  static constexpr int maxTaps = 2 * maxCorrelationRadius + 1;

  /// Rows of the volumes.
  struct Input {
    enum { reference, warped, present, count };
  };

  bool isInside(int y, int z) const;
  const IndexSpan& at(const std::vector<IndexSpan>& spans, int y, int z) const;
  const float* inputRow(int input, int y, int z);
  const float* factorRow(int factor, int y, int z);

  void load(int z);
  void correlate(int z);
  void correlateRow(int y, int z);
  void findForces(int z);
  void findForcesOfRow(int y, int z);

  /// Sums over slices.
  void addInputSlices(int y, int z);
  void addFactorSlices(int y, int z);
  /// Sums over rows of sums over slices.
  void addLines(int sums, int y, const IndexSpan& span);
  const float* countingRow(int y, int z, const IndexSpan& span);
  void clearFactors(int y, int z, const IndexSpan& unless);

  const CorrelationFrame& frame_;
  const WindowKernels& kernels_;
  IndexSpan rows_;
  int radius_;
  int taps_;
  RowRing inputs_;   ///< slots: slices
  RowRing factors_;  ///< slots: slices
  RowRing lines_;    ///< sums over slices; slots: rows
  RowRing sums_;     ///< sums over rows
  RowRing counting_;
  RowRing zeros_;
  std::vector<IndexSpan> written_;  ///< of the rows of factors_
  std::vector<double> squares_;     ///< columns of this tile's rows, then of others
  std::vector<int> counted_;
};

}  // namespace voxreg::detail
