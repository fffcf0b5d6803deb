#pragma once

#include <cstddef>
#include <vector>

#include "foundation/VlData.h"

namespace voxreg {

/// Means of blocks of voxels, which reduce noise. The last block of a line may be smaller than the
/// others.
class BlockMeans {
 public:
  /// Blocks of about `edge` millimetres along each axis, and of at least one voxel. Voxels that are
  /// not finite are skipped; a block that holds no others is 0, as are all blocks of a volume that
  /// cannot be read.
  BlockMeans(VlData& volume, float edge);

  const NmVec3l& counts() const { return counts_; }
  const NmVec3f& edges() const { return edges_; }  ///< millimetres

  double mean(const NmVec3l& block) const { return means_[indexOf(block)]; }

  NmVec3f middle(const NmVec3l& block) const;

 private:
  std::size_t indexOf(const NmVec3l& block) const {
    return static_cast<std::size_t>(block.x + counts_.x * (block.y + counts_.y * block.z));
  }

  NmVec3l counts_;
  NmVec3f edges_;
  NmVec3f first_;  ///< centre of the first block
  NmVec3f last_;   ///< last voxel of the volume
  std::vector<double> means_;
};

}  // namespace voxreg
