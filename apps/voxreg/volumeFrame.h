#pragma once

#include <voxreg.h>

#include <optional>

namespace host {

/// Position and axes of a voxel grid in a header's sense: voxel (i, j, k) of the file has its
/// centre at origin + i * axis[0] + j * axis[1] + k * axis[2], in world millimetres.
struct FileGrid {
  long dims[3] = {1, 1, 1};
  NmVec3d axis[3];
  NmVec3d origin;

  /// Gives an axis of one voxel, which a header may leave without direction, that of the normal.
  void completeFlatAxis();
};

/// How the voxels of a file are laid out in memory: the permutation and flips of the file's axes
/// that bring them closest to the world's. Registration parameters cannot express a mirror, so that
/// all volumes get axes of one handedness.
struct VoxelOrder {
  int fileAxis[3] = {0, 1, 2};              ///< the file's axis along each of the volume's
  bool flipped[3] = {false, false, false};  ///< the volume's axis runs against the file's

  static VoxelOrder nearestToWorld(const FileGrid& grid);
};

/// Where the voxels of one line of the file lie in the volume's memory.
struct MemoryLine {
  long start;
  long stride;
};

/// The line along the file's first axis at (j, k).
MemoryLine memoryLine(const FileGrid& grid, const VoxelOrder& order, long j, long k);

/// The volume's own frame: millimetres along its axes, parted from the world by no more than a
/// linear map (the identity for headers without obliqueness).
struct VolumeFrame {
  NmVec3l dims;
  NmBox3f box;      ///< through the centres of the outermost voxels, in the frame
  NmMat4d toWorld;  ///< frame to world, row vectors

  /// Nothing when the axes do not span the space, or leave what a float can tell.
  static std::optional<VolumeFrame> of(const FileGrid& grid, const VoxelOrder& order);
};

}  // namespace host
