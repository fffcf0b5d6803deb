#include "transforms/voxelAxis.h"

#include <algorithm>
#include <cmath>

namespace voxreg::detail {

VoxelAxis::VoxelAxis(const VolumeFrame& volume, int axis, Measure measure)
    : min_(volume.box.min(axis)), last_(volume.dims[axis] - 1), measure_(measure) {
  const NmBox3f& box = volume.box;
  const int steps = std::max(last_, 1);
  size_ = (static_cast<double>(box.max(axis)) - static_cast<double>(min_)) / steps;
  if (size_ == 0.0) size_ = 1.0;
  literalSize_ = box.extent(axis) / static_cast<float>(steps);
  if (literalSize_ == 0.0f) literalSize_ = 1.0f;
}

double VoxelAxis::positionOf(double world) const {
  if (measure_ == Measure::literal) return (static_cast<float>(world) - min_) / literalSize_;
  const double position = (world - static_cast<double>(min_)) / size_;
  const double nearest = std::round(position);
  return std::abs(position - nearest) <= tolerance ? nearest : position;
}

int VoxelAxis::firstFrom(double world) const {
  const double position = positionOf(world);
  if (!(position > 0.0)) return 0;
  return position >= last_ ? std::max(last_, 0) : static_cast<int>(std::ceil(position));
}

int VoxelAxis::lastUpTo(double world) const {
  const double position = positionOf(world);
  if (last_ < 0 || !(position < last_)) return last_;
  return position > 0.0 ? static_cast<int>(std::floor(position)) : 0;
}

double brickFace(const NmBox3f& box, int axis, int brick, int numBricks) {
  const double min = box.min(axis);
  const double max = box.max(axis);
  return brick == numBricks ? max : min + (max - min) * brick / numBricks;
}

}  // namespace voxreg::detail
