#pragma once

#include <cstdint>

#include "foundation/NmVec.h"

class VlData;

namespace voxreg::detail {

constexpr std::int64_t largestDimension = 2147483647;

/// True for three lengths that a volume can have: above 0, and at most 2^31 - 1.
bool areLengths(const float* lengths);

/// The smallest integer dimensions that hold `lengths`.
NmVec3l dimsOfLengths(const float* lengths);

/// The dimensions before and after a zoom, the latter also before rounding up.
struct ZoomShape {
  NmVec3l from;
  NmVec3l to;
  NmVec3f length;  ///< new length per axis; `to` is its ceiling

  /// `lengths` holds three floats.
  ZoomShape(const VlData& source, const VlData& target, const float* lengths);

  /// False if source or target has no voxels, or if the target's dimensions do not match the
  /// lengths.
  bool isConsistent() const;

  /// Source length in single precision, as used by the scales.
  float fromLength(int axis) const { return static_cast<float>(from[axis]); }

  /// True if the axis keeps its length up to 1e-10.
  bool isKept(int axis) const;

  /// True if the axis keeps its length exactly, so no pass runs along it.
  bool isUnchanged(int axis) const { return fromLength(axis) == length[axis]; }

  /// Ratio of the dimensions, rounded down.
  std::int64_t ratio(int axis) const { return from[axis] / to[axis]; }

  /// Integer number of source voxels per target voxel, or 0 if it is not an integer.
  int wholeFactor(int axis) const;
};

}  // namespace voxreg::detail
