#pragma once

#include <cstdint>

namespace voxreg::detail {

/// A portion of points within a volume, given by what their Lanczos weights are made of. On one of
/// the second and third axis at least each point lies between voxels.
struct LanczosPoints {
  static constexpr int most = 64;
  static constexpr int mostLanes = 8;  ///< of the vectors that their weights are computed in

  struct Axis {
    std::int64_t n;         ///< voxels
    int below[most];        ///< the voxel at or below the point
    double fraction[most];  ///< how far the point lies behind it, below 1
    double sine[most];      ///< of a third of pi times `fraction`
    double cosine[most];
  };

  Axis axes[3];
  int count = 0;

  explicit LanczosPoints(const std::int64_t (&dims)[3]);

  /// False, nothing added, for a position on a voxel of both the second and the third axis.
  bool add(const double (&position)[3]);

  /// To be called behind the last point. What vectors hold behind it repeats that point.
  void complete();
};

}  // namespace voxreg::detail
