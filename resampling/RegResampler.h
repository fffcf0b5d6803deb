#pragma once

#include "foundation/NmHandle.h"
#include "foundation/NmPrimType.h"
#include "foundation/NmVec.h"
#include "foundation/VlData.h"
#include "resampling/RegResamplerContribList.h"
#include "resampling/RegResamplerFilters.h"

class NmProgressInterface;

/// Scales a volume to new dimensions along its own axes, one axis after the other. Every voxel is
/// a weighted mean of its neighbours; those outside the volume are left out and the weights of the
/// others scaled to a sum of 1. A reduction stretches the filter by its factor, which smooths.
class RegResampler {
 public:
  /// Any other value resamples like Box, but always with the kernel.
  enum FilterType : int {
    Box = 0,  ///< plain mean of whole cells if the factor is an integer
    Triangle = 1,
    Bell = 2,
    BSpline = 3,
    Lanczos3 = 4,
    Mitchell = 5,
    Minimum = 6,  ///< smallest value of each cell
    Maximum = 7,  ///< largest value of each cell
    Cubic6 = 8,
    Cubic8 = 9,
    LanczosTest = 10
  };

  FilterType filterType = Box;              ///< set by doResample
  float filterShift = 0.0f;                 ///< added to every position, in output voxels
  NmProgressInterface* progress = nullptr;  ///< not owned, may be null

  /// Resamples `source` to the dimensions ceil(newDims); the scale follows newDims itself, which
  /// may be fractional. A volume in `result` of the required shape and type is written in place,
  /// otherwise `result` receives a new one; its bounding box keeps the source's outer voxel edges.
  /// An interruption leaves voxels unwritten and is not a failure. Returns false, with `result`
  /// unchanged, for a null source, an `unusedVolume`, dimensions that are not above 0 or too large,
  /// no thread, more than six data variables (unless nothing is to be scaled) or a lock that is not
  /// available. Throws std::logic_error if there is no memory for a new volume.
  bool doResample(VlData* source, NmHandle<VlData>& result, const NmVec3f& newDims,
                  VlData* unusedVolume, const NmVec3f& newVoxelSize, FilterType filter,
                  float unusedValue, int numThreads);

  /// A zeroed volume in memory; null if memory is not available.
  static NmHandle<VlData> createVlData(int* dims, NmPrimType primType, int numDataVars);

  /// Sets the target's bounding box so that its voxels share the source's centre and span its
  /// extent between outer voxel edges; an axis of equal length keeps its range. `newDims` are the
  /// target's dimensions before rounding up; null uses the target's own.
  static void setUniformCoords(VlData* target, const VlData* source, const float* newDims);

  /// The weighted input positions of each of `numOut` output positions on an axis of `numIn`
  /// voxels; `scale` is output length over input length. The caller frees every `taps`, then the
  /// array, with free. Null, with an error line, without a kernel; throws NmMemoryException when
  /// memory is exhausted.
  RegResamplerContribList* filter_contrib(int numOut, int numIn, float scale,
                                          float (*filter)(float), float support) const;

  /// Resamples the voxels of `source` into `target`, whose dimensions are ceil(newDims), with
  /// `filterType`, `filter` and `support`. Progress and failures are as in doResample; returns
  /// false for a target that does not match.
  bool zoom3d(VlData& source, VlData& target, const float* newDims, float (*filter)(float),
              float support, int numThreads);

  /// Resamples `numIn` floats linearly to `numOut`, which span the length `newLength` (the input
  /// spans numIn). An output without input around it is 0.
  void zoom1d(int numOut, float newLength, float* out, int numIn, const float* in) const;
};
