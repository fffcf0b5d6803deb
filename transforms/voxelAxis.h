#pragma once

#include "foundation/NmBox.h"
#include "foundation/voxels/volumeFrame.h"

namespace voxreg::detail {

/// One axis of a volume, for converting a range of world positions to the voxels whose centres are
/// in it.
///
/// A position is measured in voxels from the centre of voxel 0, and a position within `tolerance`
/// of a centre counts as that centre. Faces of boxes and bricks are single-precision numbers, and
/// their rounding must neither drop nor add a plane of voxels. NaN counts as the end of the axis.
class VoxelAxis {
 public:
  /// How positions are measured: in double precision with the tolerance, or in single precision
  /// without it.
  enum class Measure { tolerant, literal };

  static constexpr double tolerance = 1e-3;  ///< in voxels

  explicit VoxelAxis(const VolumeFrame& volume, int axis, Measure measure = Measure::tolerant);

  /// The last voxel; -1 on an axis without voxels.
  int last() const { return last_; }

  /// First voxel at or above a world position, and last one at or below it, both clamped to the
  /// axis.
  int firstFrom(double world) const;
  int lastUpTo(double world) const;

 private:
  double positionOf(double world) const;

  float min_;    ///< world position of voxel 0
  double size_;  ///< voxel size
  float literalSize_;
  int last_;
  Measure measure_;
};

/// World position of the lower face of brick `brick` of `numBricks` along one axis of a box; for
/// `brick` = `numBricks`, that of the last brick's upper face.
double brickFace(const NmBox3f& box, int axis, int brick, int numBricks);

}  // namespace voxreg::detail
