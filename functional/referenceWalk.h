#pragma once

#include <cstdint>

#include "foundation/NmDArray.h"
#include "functional/kernels/walk.h"

class RegNonAffineTransform;

namespace voxreg::detail {

/// False if there is nothing to walk or to sample.
bool isComplete(const WalkFrame& frame);

/// The box of all voxels of the reference.
NmBox3i wholeReference(const WalkFrame& frame);

/// Whether a grid has its coefficients; otherwise a walk through it has no samples.
bool canEvaluate(const RegNonAffineTransform& grid);

/// The changes of position from one column and from one row to the next through a grid of bricks,
/// world units.
struct GridSteps {
  double x;
  double y;

  /// As computed by the families that select samples by value.
  static GridSteps ranged(const WalkFrame& frame);
};

/// A walk with the working memory of a kernel. Boxes are clipped to the reference.
class ReferenceWalk {
 public:
  /// An affine walk of `box` instead of the frame's.
  ReferenceWalk(const WalkFrame& frame, const NmBox3i& box);

  /// A walk of the frame's box through a grid of bricks with current coefficients; one that cannot
  /// be evaluated gets no memory.
  ReferenceWalk(const WalkFrame& frame, const RegNonAffineTransform& grid, const GridSteps& steps);

  /// Number of voxels in the walk, valid or not.
  std::int64_t numVoxels() const;

  Walk walk = {};

 private:
  void setFrame(const WalkFrame& frame, const NmBox3i& box);

  /// Allocates the kernel's working memory in one block; returns the part for the positions of
  /// voxels.
  double* takeMemory(std::int64_t numPlaces);

  NmDArray<double> memory_;
};

}  // namespace voxreg::detail
