#pragma once

#include <cstdint>

#include "foundation/NmBox.h"
#include "foundation/NmDArray.h"
#include "foundation/NmVec.h"
#include "functional/kernels/kernelChoice.h"
#include "functional/kernels/walk.h"

class RegCorrelationRatio;
class RegMeanSquaredDifference;
class RegMutualInformation;
class RegNonAffineTransform;

namespace voxreg::detail {

/// The arguments of a sampling kernel, their voxel types as voxelTypeIndex.
struct WalkArguments {
  const void* reference;
  int referenceType;
  const void* model;
  int modelType;
  const NmVec3i& referenceDims;
  const NmBox3i& box;
  const NmVec3i& signs;
  const NmVec3d& start;
  const NmVec3d& stepX;
  const NmVec3d& stepY;
  const NmVec3d& stepZ;
  const double* bounds;
  const int* modelDims;
  const KernelTable& table = kernels();

  /// False where there is nothing to walk or to sample, or no bounds although the walk needs them.
  bool isComplete(bool needsBounds) const;
};

/// A walk with the memory that a kernel works in.
class ReferenceWalk {
 public:
  /// An affine walk of `box`, cut to the reference.
  ReferenceWalk(const WalkArguments& arguments, const NmBox3i& box);

  /// A walk of the arguments' box, cut to the reference, through a grid of bricks whose
  /// coefficients are current; one that can not be evaluated gets no scratch memory. `stepX` and
  /// `stepY` are the effective steps along the reference's x and y.
  ReferenceWalk(const WalkArguments& arguments, const RegNonAffineTransform& grid, double stepX,
                double stepY);

  /// Voxels of the walk, valid or not.
  std::int64_t numVoxels() const;

  Walk walk = {};

 private:
  void setFrame(const WalkArguments& arguments, const NmBox3i& box);

  /// Takes what the kernel works in, in one block; returns the room for the places of voxels.
  double* takeMemory(std::int64_t numPlaces);

  NmDArray<double> memory_;
};

/// Affine walks that feed a metric.
void walkAffine(const WalkArguments& arguments, RegMeanSquaredDifference& metric);
void walkAffine(const WalkArguments& arguments, RegCorrelationRatio& metric);
void walkAffine(const WalkArguments& arguments, RegMutualInformation& metric, int numHistograms);

/// Walks of the arguments' box through a grid of bricks, world units in `start` and the steps. A
/// transform without vertices has no samples.
void walkBricks(const WalkArguments& arguments, const RegNonAffineTransform& grid,
                RegMeanSquaredDifference& metric);
void walkBricks(const WalkArguments& arguments, const RegNonAffineTransform& grid,
                RegCorrelationRatio& metric);
void walkBricks(const WalkArguments& arguments, const RegNonAffineTransform& grid,
                RegMutualInformation& metric, int numHistograms);

}  // namespace voxreg::detail
