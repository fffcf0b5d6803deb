#pragma once

#include <cstdint>

#include "foundation/NmBox.h"

namespace voxreg::detail {

/// Maps world coordinates to voxel positions along one axis of a volume.
class GridAxis {
 public:
  GridAxis(const NmBox3f& box, int axis, std::int64_t n);

  /// The voxel position of `coordinate`, from 0 to n - 1. Up to a thousandth of a voxel outside the
  /// box counts as on its border, since hosts compute positions in single precision. Returns false,
  /// with `position` unchanged, farther outside, for NaN, and on an axis where the box is empty.
  bool locate(float coordinate, double& position) const;

  /// The same for `n` coordinates; a position of -1 means false.
  void locate(const float* coordinates, std::int64_t n, double* positions) const;

  std::int64_t size() const { return n_; }

 private:
  double positionOf(double coordinate) const;

  double min_;
  double max_;
  double slack_;
  double last_;
  std::int64_t n_;
};

}  // namespace voxreg::detail
