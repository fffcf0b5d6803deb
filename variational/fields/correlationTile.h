#pragma once

#include <cstdint>
#include <vector>

#include "foundation/NmVec.h"
#include "functional/kernels/walk.h"
#include "variational/fields/localCorrelationKernels.h"
#include "variational/fields/rowRing.h"

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

/// The windows of some rows of all slices, slice by slice. Slices that are in use are kept in
/// rings, and their sums are formed anew for each slice, so that nothing is left of values that
/// have gone. A tile of a volume is small enough for the cache.
class CorrelationTile {
 public:
  CorrelationTile(const CorrelationFrame& frame, int maxRows);

  /// Rows `rows` along y, at most maxRows.
  CorrelationSum run(const IndexSpan& rows);

 private:
  static constexpr int maxTaps = 2 * maxCorrelationRadius + 1;

  bool isInside(int y, int z) const;
  std::int64_t rowIndex(int y, int z) const { return std::int64_t{frame_.dims.y} * z + y; }
  const IndexSpan& at(const std::vector<IndexSpan>& spans, int y, int z) const {
    return spans[static_cast<std::size_t>(rowIndex(y, z))];
  }
  /// The rows at a place in the tile, which may be zeros outside the volume.
  const float* inputRows(int y, int z) const;
  const float* factorRows(int y, int z) const;
  float* ownInputRows(int y, int z);
  float* ownFactorRows(int y, int z);

  void load(int z);
  void correlate(int z);
  void correlateRow(int y, int z);
  void findForces(int z);
  void findForcesOfRow(int y, int z);

  /// Sums over slices.
  void addInputSlices(int y, int z);
  void addFactorSlices(int y, int z);
  /// Sums over rows of sums over slices.
  void addLines(const RowRing& slices, int kinds, int y, const IndexSpan& span,
                RowRing& sums) const;
  const float* countingRow(int y, int z, const IndexSpan& span);
  void clearFactors(int y, int z, const IndexSpan& unless);

  const CorrelationFrame& frame_;
  const WindowKernels& kernels_;
  IndexSpan rows_ = {0, 0};
  int radius_;
  int taps_;
  long stride_;
  RowRing inputs_;   ///< slots: slices
  RowRing factors_;  ///< slots: slices
  /// Sums over slices; slots: rows. The ends of rows may hold older sums, but all from one place.
  RowRing inputSlices_;
  RowRing factorSlices_;
  RowRing windows_;        ///< sums over slices and rows
  RowRing factorsAround_;  ///< sums over slices and rows
  RowRing counting_;
  RowRing zeros_;
  std::vector<IndexSpan> written_;  ///< of the rows of factors_
  std::vector<double> squares_;     ///< columns of this tile's rows, then of others
  std::vector<int> counted_;
};

}  // namespace voxreg::detail
