#pragma once

#include "foundation/NmBox.h"
#include "foundation/NmDArray.h"
#include "foundation/NmHandle.h"
#include "foundation/NmMat4f.h"
#include "foundation/NmVec.h"
#include "foundation/VlMemoryData.h"
#include "resampling/RegResampler.h"

class NmProgressInterface;

/// Applies a non-affine transform to a volume. The transform is a regular grid of nodes over
/// `gridBox`, a part of the reference: `nodes` holds the position in the model's world to which
/// each of them maps, x fastest, and between eight nodes the map is trilinear.
class RegBrickedResampler {
 public:
  /// A new volume on the voxels of `reference` with the model's values at the mapped positions. A
  /// voxel without a value gets the background: 0, or the model's smallest value.
  ///   filter           Lanczos3 samples with the Lanczos kernel, all others linearly
  ///   zeroBackground   the background is 0
  ///   clampToGrid      a voxel outside the grid is mapped like the grid's nearest point, at the
  ///                    same distance from it; otherwise it gets the background
  ///   clampToModel     a position outside the model is moved onto the border of its box; otherwise
  ///                    the voxel gets the background
  /// `progress` receives the percentage of slices; a slice that it interrupts remains 0, which is
  /// not a failure. All work is done on the calling thread, whatever the number of threads.
  ///
  /// Returns null for a missing volume, volumes of different types or of more than one data
  /// variable, a grid without volume, with fewer than 2 nodes on an axis or more than 2^31 - 1 in
  /// all, a number of nodes that does not match, a model that cannot be locked for reading, or
  /// exhausted memory.
  NmHandle<VlMemoryData> doResampling(const NmHandle<VlData>& reference,
                                      const NmHandle<VlData>& model, const NmBox3f& gridBox,
                                      NmDArray<NmVec3f>& nodes, NmVec3i& gridDims,
                                      RegResampler::FilterType filter, int numThreads,
                                      bool zeroBackground, bool clampToGrid, bool clampToModel,
                                      NmProgressInterface* progress) const;

  /// Finds each voxel of an axis among the nodes. An index is that of the node below, times the
  /// axis's stride in the array of nodes, and the weight is the share of the node above. They are
  /// -1 and 0 for a voxel outside the grid (with `clampToGrid`, it counts as the nearest point of
  /// the grid), on an axis of fewer than 2 nodes, and if indices do not fit into an int.
  static void getIndicesAndWeights(const NmVec3i& dims, const NmBox3f& voxelBox,
                                   const NmBox3f& gridBox, const NmVec3i& gridDims,
                                   bool clampToGrid, NmDArray<int>& xIndices,
                                   NmDArray<float>& xWeights, NmDArray<int>& yIndices,
                                   NmDArray<float>& yWeights, NmDArray<int>& zIndices,
                                   NmDArray<float>& zWeights);

  /// A zeroed volume in memory; null if memory is not available.
  static NmHandle<VlMemoryData> createVlMemoryData(const NmVec3l& dims, NmPrimType primType,
                                                   int numDataVars);
};

/// The work of RegBrickedResampler::doResampling on voxels of one type: fills `output`, of `dims`
/// voxels over `voxelBox`, from the first of `evaluators`. The indices and weights are those of
/// getIndicesAndWeights. A mapped position is multiplied by `matrix` and, with `clampToModel`,
/// moved onto `modelBox`. With `isInteger` values are rounded to nearest, ties to even, and clamped
/// to [minValue, maxValue]; otherwise they are converted, and a value that an integer type cannot
/// hold becomes the nearest that it can, NaN 0.
///
/// Arrays that do not match dims and grid, a null output and a missing evaluator change nothing.
/// Instances exist for the six voxel types.
template <class T>
void brickedResampling(T* output, const NmVec3i& dims, NmBox3f& voxelBox, int numThreads,
                       float background, bool clampToGrid, bool clampToModel,
                       NmDArray<NmHandle<VlEvaluator>>& evaluators, NmVec3i& gridDims,
                       const NmBox3f& gridBox, NmDArray<NmVec3f>& nodes, NmDArray<int>& xIndices,
                       NmDArray<float>& xWeights, NmDArray<int>& yIndices,
                       NmDArray<float>& yWeights, NmDArray<int>& zIndices,
                       NmDArray<float>& zWeights, NmMat4f& matrix, NmBox3f& modelBox,
                       bool isInteger, T minValue, T maxValue, NmProgressInterface* progress);
