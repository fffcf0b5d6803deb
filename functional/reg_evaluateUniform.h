#pragma once

#include "foundation/NmBox.h"
#include "foundation/NmVec.h"

class RegCorrelationRatio;
class RegMeanSquaredDifference;
class RegMetric;
class RegMutualInformation;
class RegNonAffineTransform;

/// The sampling kernels: each walks reference voxels of type T, finds the position of each in the
/// model, samples the model's voxels of type U by trilinear interpolation, and adds the pairs to a
/// metric's members. T and U each are one of the six voxel types; the library holds all 36
/// instances of each family. All arithmetic is in double, and every sum takes its terms in voxel
/// order.
///
/// Arguments common to the families:
///   reference, model  voxels, x fastest; one data variable
///   referenceDims     nx, ny, nz of the reference
///   box               voxels of the reference to walk, both ends inclusive; clipped to the
///   reference signs             direction of stepX per model axis: 1, -1, 2 no movement, 0 no clip
///   start             position of reference voxel (0, 0, 0): model voxel coordinates in an affine
///                     walk, world units in one through a brick grid
///   stepX/Y/Z         change of that position per reference voxel
///   bounds            lower and upper bound of a position per model axis, six values
///   modelDims         dims of the model
/// A null reference, model or metric, or dims below 1, add nothing.

/// Difference family. Without a transform it walks the slices box.zmin .. box.zmax over their full
/// extent along x and y, each row clipped to the model; with one it walks the voxels of the box,
/// and a sample counts if it is within half a voxel of the model. The last argument is ignored.
template <class T, class U>
void reg_evaluateUniformMSD(const T* reference, const U* model, const NmVec3i& referenceDims,
                            const NmBox3i& box, const NmVec3i& signs, const NmVec3d& start,
                            const NmVec3d& stepX, const NmVec3d& stepY, const NmVec3d& stepZ,
                            RegMeanSquaredDifference* metric, const double* bounds,
                            const int* modelDims, RegNonAffineTransform* transform, int);

/// Correlation family, affine walk: the whole reference, each row clipped to the model. A sample
/// counts if both values are in the metric's closed ranges. The last argument is ignored.
template <class T, class U>
void reg_evaluateUniformCorrAffine(const T* reference, const U* model, const NmVec3i& referenceDims,
                                   const NmVec3i& signs, const NmVec3d& start, const NmVec3d& stepX,
                                   const NmVec3d& stepY, const NmVec3d& stepZ,
                                   RegCorrelationRatio* metric, const double* bounds,
                                   const int* modelDims, int);

/// Mutual information family, affine walk: the whole reference, each row clipped to the model;
/// every sample counts. With one histogram (or fewer) the joint histogram of this walk replaces the
/// metric's; with more it is added to it.
template <class T, class U>
void reg_evaluateUniformMIAffine(const T* reference, const U* model, const NmVec3i& referenceDims,
                                 const NmVec3i& signs, const NmVec3d& start, const NmVec3d& stepX,
                                 const NmVec3d& stepY, const NmVec3d& stepZ,
                                 RegMutualInformation* metric, const double* bounds,
                                 const int* modelDims, int numHistograms);

/// Correlation family, walk of the box through a grid of bricks: a sample counts if it is within
/// half a voxel of the model and both values are in the metric's closed ranges. `signs`, `bounds`
/// and the last argument are ignored.
template <class T, class U>
void reg_evaluateUniformCorrNonAffine(const T* reference, const U* model,
                                      const NmVec3i& referenceDims, const NmBox3i& box,
                                      const NmVec3i& signs, const NmVec3d& start,
                                      const NmVec3d& stepX, const NmVec3d& stepY,
                                      const NmVec3d& stepZ, RegCorrelationRatio* metric,
                                      const double* bounds, const int* modelDims,
                                      RegNonAffineTransform* transform, int);

/// Mutual information family, walk of the box through a grid of bricks: samples count as in the
/// correlation family, and histograms as in the affine walk.
template <class T, class U>
void reg_evaluateUniformMINonAffine(const T* reference, const U* model,
                                    const NmVec3i& referenceDims, const NmBox3i& box,
                                    const NmVec3i& signs, const NmVec3d& start,
                                    const NmVec3d& stepX, const NmVec3d& stepY,
                                    const NmVec3d& stepZ, RegMutualInformation* metric,
                                    const double* bounds, const int* modelDims,
                                    RegNonAffineTransform* transform, int numHistograms);

/// Passes the walk to the family of `metric`; a metric of another kind receives nothing.
template <class T, class U>
void reg_evaluateUniform(const T* reference, const U* model, const NmVec3i& referenceDims,
                         const NmBox3i& box, const NmVec3i& signs, const NmVec3d& start,
                         const NmVec3d& stepX, const NmVec3d& stepY, const NmVec3d& stepZ,
                         RegMetric* metric, const double* bounds, const int* modelDims,
                         RegNonAffineTransform* transform, int numHistograms);
