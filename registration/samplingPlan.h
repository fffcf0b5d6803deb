#pragma once

#include "foundation/NmDArray.h"
#include "foundation/NmVec.h"

class VlData;

namespace voxreg::detail {

/// The axis on which either grid has one voxel: 0 to 2, 3 for none, -1 for more than one.
int flatAxisOf(const NmVec3i& a, const NmVec3i& b);

/// Voxel sizes of a volume. `axes` begins with the axis of the smallest one and ends with
/// `flatAxis` if that is 0 to 2, otherwise with the axis of the largest.
struct VoxelSizes {
  NmVec3f delta;
  NmVec3i axes;

  /// Every size is 0 without a volume.
  VoxelSizes(const VlData* volume, int flatAxis);
};

/// Factors that bring voxels of size `delta` closest to `target` on a logarithmic scale, but never
/// below 1. `base` is used on an axis without a size or target; a `limit` above 0 is never
/// exceeded.
NmVec3i isotropicFactors(float target, const NmVec3f& delta, const NmVec3i& base,
                         const NmVec3i& limit);

/// Factors of the model for a level on which the reference has `factors`.
NmVec3i modelFactors(const NmVec3i& factors, const NmVec3f& deltaRef, const NmVec3f& deltaModel,
                     int flatAxis);

/// Limits the coarsest factors so that voxels are left on every axis of both grids.
void limitCoarsest(const NmVec3i& dimsRef, const NmVec3i& dimsModel, bool fixedLimit,
                   NmVec3i& factors);

/// Factors of each level for voxels of size `delta`, finest first. Affine runs use full resolution,
/// about `levelRatio` below the coarsest, and the coarsest, if these differ, and at least two
/// levels; others use only full resolution.
NmDArray<NmVec3i> levelFactors(const NmVec3i& coarsest, const NmVec3f& delta, bool isAffine,
                               int levelRatio);

/// A histogram size for a range of values, at least 1.
int numBinsFor(float min, float max, bool integerData);

}  // namespace voxreg::detail
