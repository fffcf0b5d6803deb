#pragma once

#include <cstdint>
#include <vector>

#include "variational/fields/localCorrelationKernels.h"

namespace voxreg::detail {

/// Rows of voxels, zeros at first, in slots that are used in turn. Rows begin on a cache line, with
/// zeros on either side.
class RowRing {
 public:
  RowRing(int rowSize, int rowsPerSlot, int slots)
      : rowBlocks_((rowSize + rowBlock - 1) / rowBlock + 2),
        rowsPerSlot_(rowsPerSlot),
        slots_(slots),
        blocks_(static_cast<std::size_t>(rowBlocks_ * rowsPerSlot * slots)) {}

  float* row(int row, int slot) { return blocks_[blockOf(row, slot)].values; }
  const float* row(int row, int slot) const { return blocks_[blockOf(row, slot)].values; }

  /// In the slot that is the turn of `turn`.
  float* rowAt(int row, int turn) { return this->row(row, turn % slots_); }
  const float* rowAt(int row, int turn) const { return this->row(row, turn % slots_); }

  /// From a row to the next.
  long stride() const { return static_cast<long>(rowBlocks_ * rowBlock); }

 private:
  struct alignas(64) Block {
    float values[rowBlock] = {};
  };

  std::size_t blockOf(int row, int slot) const {
    return static_cast<std::size_t>(rowBlocks_ * (std::int64_t{rowsPerSlot_} * slot + row) + 1);
  }

  std::int64_t rowBlocks_;
  int rowsPerSlot_;
  int slots_;
  std::vector<Block> blocks_;
};

}  // namespace voxreg::detail
