#pragma once

#include <cstdint>

namespace voxreg::detail {

/// A batch of points in a volume, given by the quantities that determine their Lanczos weights. On
/// at least one of the second and third axis each point is between voxels.
struct LanczosPoints {
  static constexpr int most = 64;
  static constexpr int mostLanes = 8;  ///< of the vectors in which their weights are computed

  struct Axis {
    std::int64_t n;         ///< voxels
    int below[most];        ///< the voxel at or below the point
    double fraction[most];  ///< distance of the point from it, below 1
    double sine[most];      ///< of a third of pi times `fraction`
    double cosine[most];
  };

  Axis axes[3];
  int count = 0;

  explicit LanczosPoints(const std::int64_t (&dims)[3]);

  /// Returns false, and adds nothing, for a position on a voxel of both the second and the third
  /// axis.
  bool add(const double (&position)[3]);

  /// Must be called after the last point. Fills the rest of a vector with that point.
  void complete();
};

}  // namespace voxreg::detail
