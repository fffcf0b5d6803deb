#pragma once

#include "BlockMeans.h"
#include "bodyAxes.h"

namespace host {

/// A volume in cells of a few millimetres, counted along the body: x to the left, y from the front
/// to the back, z to the head.
class BodyCells {
 public:
  /// Throws HostError for a volume that cannot be read.
  BodyCells(VlData& volume, const BodyAxes& body);

  const NmVec3l& counts() const { return counts_; }
  const NmVec3f& edges() const { return edges_; }  ///< millimetres
  std::size_t size() const { return static_cast<std::size_t>(counts_.x * counts_.y * counts_.z); }

  /// Of a cell in a list of all, x fastest.
  std::size_t indexOf(long x, long y, long z) const {
    return static_cast<std::size_t>(x + counts_.x * (y + counts_.y * z));
  }

  double mean(long x, long y, long z) const { return means_.mean(block(x, y, z)); }

  /// In the volume's frame.
  NmVec3f middle(long x, long y, long z) const { return means_.middle(block(x, y, z)); }

 private:
  NmVec3l block(long x, long y, long z) const;

  BodyAxes body_;
  BlockMeans means_;
  NmVec3l counts_;
  NmVec3f edges_;
};

}  // namespace host
