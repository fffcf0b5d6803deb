#pragma once

#include "foundation/NmBox.h"
#include "foundation/NmDArray.h"
#include "foundation/NmVec.h"
#include "functional/kernels/walk.h"

class RegCorrelationRatio;
class RegMeanSquaredDifference;
class RegMutualInformation;

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

  /// False where there is nothing to walk or to sample.
  bool isComplete() const;
};

/// A walk with the scratch memory of the rows that a kernel works on.
class ReferenceWalk {
 public:
  /// Walks `box`, cut to the reference.
  ReferenceWalk(const WalkArguments& arguments, const NmBox3i& box);

  /// Voxels of the walk, valid or not.
  long numVoxels() const;

  Walk walk;

 private:
  NmDArray<double> scratch_;
};

/// Affine walks that feed a metric.
void walkAffine(const WalkArguments& arguments, RegMeanSquaredDifference& metric);
void walkAffine(const WalkArguments& arguments, RegCorrelationRatio& metric);
void walkAffine(const WalkArguments& arguments, RegMutualInformation& metric, int numHistograms);

}  // namespace voxreg::detail
