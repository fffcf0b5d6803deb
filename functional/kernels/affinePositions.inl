#pragma once

#include "functional/kernels/blockSpan.inl"
#include "functional/kernels/columns.inl"
#include "functional/kernels/prefetch.inl"

/// Positions of reference rows under an affine map. A position is computed by adding the step of
/// one voxel repeatedly, starting at voxel 0 of the row, so it rounds the same wherever a row is
/// entered.
template <LaneContents laneContents>
class AffinePositions {
 public:
  /// The row clip leaves only samples inside the model.
  static constexpr bool samplesNeedTest = false;

  explicit AffinePositions(const Walk& walk) : walk_(walk) {
    for (int axis = 0; axis < 3; ++axis) step_[axis] = Lanes::all(walk.step[0][axis]);
  }

  static IndexSpan rowRange(const Walk& walk) { return {0, walk.referenceDims[1]}; }

  /// Puts the rows of a block into the lanes and sets the voxels that each of them samples.
  void startRows(const RowBlock& block, BlockSpan& span) {
    IndexSpan rows[Lanes::width];
    double first[3][Lanes::width];
    for (int r = 0; r < Lanes::width; ++r) {
      double p[3];
      const double y = block.y[r];
      const double z = block.z[r];
      for (int axis = 0; axis < 3; ++axis) {
        p[axis] = (walk_.start[axis] + y * walk_.step[1][axis]) + z * walk_.step[2][axis];
        first[axis][r] = p[axis];
      }
      rows[r] = r < block.count ? clipRow(walk_, p, walk_.referenceDims[0]) : IndexSpan{0, 0};
    }
    span.set(rows);
    for (int axis = 0; axis < 3; ++axis) position_[axis] = Lanes::load(first[axis]);
  }

  /// Moves from voxel 0 to voxel x.
  void seek(int x) {
    for (int i = 0; i < x; ++i) advance();
  }

  /// Returns the positions, in model voxel coordinates, and moves on to the next voxel.
  void take(typename Lanes::Doubles position[3]) {
    for (int axis = 0; axis < 3; ++axis) position[axis] = position_[axis];
    advance();
  }

 private:
  void advance() {
    for (int axis = 0; axis < 3; ++axis) position_[axis] = position_[axis] + step_[axis];
  }

  const Walk& walk_;
  typename Lanes::Doubles position_[3];
  typename Lanes::Doubles step_[3];
};
