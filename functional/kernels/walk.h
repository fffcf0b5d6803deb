#pragma once

#include <cstdint>

#include "foundation/NmBox.h"
#include "foundation/NmVec.h"
#include "transforms/brickStages.h"

namespace voxreg::detail {

/// The six voxel types in the order of the kernel tables.
inline constexpr int numVoxelTypes = 6;

template <class T>
inline constexpr int voxelTypeIndex = -1;
template <>
inline constexpr int voxelTypeIndex<unsigned char> = 0;
template <>
inline constexpr int voxelTypeIndex<short> = 1;
template <>
inline constexpr int voxelTypeIndex<unsigned short> = 2;
template <>
inline constexpr int voxelTypeIndex<int> = 3;
template <>
inline constexpr int voxelTypeIndex<float> = 4;
template <>
inline constexpr int voxelTypeIndex<double> = 5;

/// Successive voxels or bricks along one axis: from `first` up to, but excluding, `end`; none where
/// `end` is not above `first`.
struct IndexSpan {
  int first;
  int end;
};

/// A grid of bricks as a source of positions.
struct WalkedBricks {
  const double* coefficients;
  int numBricks[3];
  double offset[3];  ///< from world units to model voxels: (position + offset) * scale
  double scale[3];
  double zMin;                ///< of the grid's box, world units
  double zExtent;             ///< above 0
  const BrickPlace* columns;  ///< of voxels starting at box.xmin
  const BrickPlace* rows;     ///< of rows starting at box.ymin
  IndexSpan touched[2];       ///< bricks that contain the columns and the rows
};

/// Describes a walk of reference voxels through a model: plain values and pointers only, since a
/// kernel compiled for one instruction set must not instantiate code that it shares with the rest
/// of the library.
struct WalkFrame {
  const void* reference;  ///< voxels, x fastest
  int referenceType;      ///< voxelTypeIndex
  int referenceDims[3];
  NmBox3i box;  ///< voxels to walk, both ends inclusive
  const void* model;
  int modelType;
  int modelDims[3];
  double start[3];      ///< position of reference voxel (0, 0, 0): model voxels in an affine walk,
                        ///< world units in one through bricks
  double step[3][3];    ///< position change per reference voxel along x, y, z
  int signs[3];         ///< direction of step[0] per model axis: 1, -1, 2 no movement, 0 no clip
  double bounds[3][2];  ///< lower and upper bound of an affine position per model axis
};

/// A walk as the kernels see it, with its box inside the reference.
struct Walk : WalkFrame {
  double rowStep[3];  ///< approximate distance of the next row, in model voxels; only a hint
  WalkedBricks grid;  ///< for a walk through bricks, unused otherwise
  double* kept;       ///< keptDoubles for each voxel of a row, aligned to 64 bytes
  double*
      stages;  ///< for a walk through bricks: stageDoubles for the touched bricks, aligned likewise
};

/// Maximum number of rows that a kernel processes in parallel; determines the size of its working
/// memory.
inline constexpr int maxLanes = 8;

/// Number of values that an accumulator stores per voxel of the rows in progress.
inline constexpr std::int64_t keptDoubles = std::int64_t{3} * maxLanes;

/// Size of the stages of a brick grid for `columns` times `rows` bricks.
constexpr std::int64_t stageDoubles(std::int64_t columns, std::int64_t rows) {
  return maxLanes * columns * (rowDoubles + sliceDoubles * rows);
}

struct DifferenceSums {
  double negSquaredDiff = 0.0;
  std::int64_t count = 0;
};

struct CorrelationSums {
  double minRef;  ///< closed ranges of values that count
  double maxRef;
  double minModel;
  double maxModel;
  double refSq = 0.0;
  double modelSq = 0.0;
  double refModel = 0.0;
  double ref = 0.0;
  double model = 0.0;
  std::int64_t count = 0;
};

/// One axis of a joint histogram of at least two bins.
struct HistogramAxis {
  double min;    ///< value of bin 0
  double scale;  ///< bins per unit
  double max;    ///< upper end of the values that count, if the range is used
  int count;     ///< bins
};

struct HistogramSums {
  HistogramAxis rows;     ///< of the reference
  HistogramAxis columns;  ///< of the model
  double* histogram;      ///< rows.count * columns.count bins
  std::int64_t count = 0;
};

/// The kernels of a metric family, indexed by the model's voxelTypeIndex.
template <class Sums>
struct FamilyKernels {
  using Kernel = void (*)(const Walk& walk, Sums& sums);

  Kernel affine[numVoxelTypes];
  Kernel bricks[numVoxelTypes];
};

/// The kernels of one instruction set.
struct KernelTable {
  FamilyKernels<DifferenceSums> difference;
  FamilyKernels<CorrelationSums> correlation;
  FamilyKernels<HistogramSums> histogram;
};

extern const KernelTable portableKernels;
extern const KernelTable avx2Kernels;
extern const KernelTable avx512Kernels;

}  // namespace voxreg::detail
