#pragma once

#include "foundation/NmBox.h"
#include "foundation/NmVec.h"

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

/// A grid of bricks as a source of positions. A voxel's place runs by repeated additions: in brick
/// units along x, normalised to the box along y.
struct BrickGrid {
  const double* coefficients;
  int numBricks[3];
  double offset[3];  ///< from world units to model voxels: (position + offset) * scale
  double scale[3];
  double uFirst;  ///< of voxel box.xmin
  double uStep;
  double vFirst;  ///< of row box.ymin
  double vStep;
  double zMin;     ///< of the grid's box, world units
  double zExtent;  ///< above 0
};

/// One walk of reference voxels through a model, as the kernels see it: bare values and pointers,
/// since a kernel that is compiled for one instruction set must not instantiate code that it shares
/// with the rest of the library.
struct Walk {
  const void* reference;  ///< voxels, x fastest
  int referenceType;      ///< voxelTypeIndex
  int referenceDims[3];
  NmBox3i box;  ///< voxels to walk, within the reference
  const void* model;
  int modelDims[3];
  double start[3];      ///< position of reference voxel (0, 0, 0)
  double step[3][3];    ///< position change per reference voxel along x, y, z
  int signs[3];         ///< direction of step[0] per model axis: 1, -1, 2 no movement, 0 no clip
  double bounds[3][2];  ///< lower and upper bound of a position per model axis
  BrickGrid grid;       ///< of a walk through bricks, unused otherwise
  double* scratch;      ///< room for scratchDoubles(), aligned to 64 bytes
};

/// Rows that a kernel works on side by side, at most; sizes the scratch memory.
inline constexpr int maxRowsInFlight = 8;

/// Doubles that a walk needs in Walk::scratch: model values of the rows in flight, one row of the
/// reference and the flags of its samples, and for a walk through bricks the places of voxels and
/// rows, one slice and the rows of the grid.
inline long scratchDoubles(const int referenceDims[3], const int numBricks[3]) {
  const long rows = (maxRowsInFlight + 2L) * referenceDims[0];
  const long places = 2L * (static_cast<long>(referenceDims[0]) + referenceDims[1]);
  const long bricks = 12L * numBricks[0] * numBricks[1] + 6L * maxRowsInFlight * numBricks[0];
  return rows + (numBricks[0] > 0 ? places + bricks : 0);
}

struct DifferenceSums {
  double negSquaredDiff = 0.0;
  long count = 0;
};

struct CorrelationSums {
  double minRef;  ///< closed ranges of the values that count
  double maxRef;
  double minModel;
  double maxModel;
  double refSq = 0.0;
  double modelSq = 0.0;
  double refModel = 0.0;
  double ref = 0.0;
  double model = 0.0;
  long count = 0;
};

/// One axis of a joint histogram of at least two bins.
struct HistogramAxis {
  double min;    ///< value of bin 0
  double scale;  ///< bins per unit
  double max;    ///< upper end of the values that count, where the range is asked for
  int count;     ///< bins
};

struct HistogramSums {
  HistogramAxis rows;     ///< of the reference
  HistogramAxis columns;  ///< of the model
  double* histogram;      ///< rows.count * columns.count bins
  long count = 0;
};

/// The kernels of one instruction set, indexed by the model's voxelTypeIndex.
struct KernelTable {
  void (*affineDifference[numVoxelTypes])(const Walk& walk, DifferenceSums& sums);
  void (*affineCorrelation[numVoxelTypes])(const Walk& walk, CorrelationSums& sums);
  void (*affineHistogram[numVoxelTypes])(const Walk& walk, HistogramSums& sums);
  void (*brickDifference[numVoxelTypes])(const Walk& walk, DifferenceSums& sums);
  void (*brickCorrelation[numVoxelTypes])(const Walk& walk, CorrelationSums& sums);
  void (*brickHistogram[numVoxelTypes])(const Walk& walk, HistogramSums& sums);
};

/// The table for the processor at hand.
const KernelTable& kernels();

extern const KernelTable portableKernels;

}  // namespace voxreg::detail
