#pragma once

#include "workflow/BlockMeans.h"
#include "workflow/chest/bodyAxes.h"

namespace voxreg::detail {

/// A volume in cells of a few millimetres, indexed along the body: x to the left, y from the front
/// to the back, z to the head.
class BodyCells {
 public:
  ///
  BodyCells(VlData& volume, const BodyAxes& body);

  const NmVec3l& counts() const { return counts_; }
  const NmVec3f& edges() const { return edges_; }  ///< millimetres
  std::size_t size() const { return static_cast<std::size_t>(counts_.x * counts_.y * counts_.z); }

  /// Index of a cell in a list of all cells, x fastest.
  std::size_t indexOf(std::int64_t x, std::int64_t y, std::int64_t z) const {
    return static_cast<std::size_t>(x + counts_.x * (y + counts_.y * z));
  }

  double mean(std::int64_t x, std::int64_t y, std::int64_t z) const {
    return means_.mean(block(x, y, z));
  }

  /// In the volume's frame.
  NmVec3f middle(std::int64_t x, std::int64_t y, std::int64_t z) const {
    return means_.middle(block(x, y, z));
  }

 private:
  NmVec3l block(std::int64_t x, std::int64_t y, std::int64_t z) const;

  BodyAxes body_;
  BlockMeans means_;
  NmVec3l counts_;
  NmVec3f edges_;
};

}  // namespace voxreg::detail
