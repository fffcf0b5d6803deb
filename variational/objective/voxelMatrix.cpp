#include "variational/objective/voxelMatrix.h"

namespace voxreg::detail {
double voxelSizeAlong(const VolumeFrame& volume, int axis) {
  return volume.voxelSize[axis] > 0.0f ? static_cast<double>(volume.voxelSize[axis]) : 1.0;
}

double toVoxel(const VolumeFrame& volume, int axis, double position) {
  return (position - static_cast<double>(volume.box.min(axis))) / voxelSizeAlong(volume, axis);
}

VoxelMatrix voxelMatrix(const NmMat4d& referenceToModel, const VolumeFrame& reference,
                        const VolumeFrame& model) {
  const NmMat4d& m = referenceToModel;
  VoxelMatrix matrix;
  for (int c = 0; c < 3; ++c) {
    double start = m.m[3][c];
    for (int axis = 0; axis < 3; ++axis) {
      start += static_cast<double>(reference.box.min(axis)) * m.m[axis][c];
      matrix.step[axis][c] =
          m.m[axis][c] * static_cast<double>(reference.voxelSize[axis]) / voxelSizeAlong(model, c);
    }
    matrix.start[c] = toVoxel(model, c, start);
  }
  return matrix;
}

}  // namespace voxreg::detail
