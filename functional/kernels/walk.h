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
  double* scratch;      ///< room for scratchDoubles(), aligned to 64 bytes
};

/// Rows that a kernel works on side by side, at most; sizes the scratch memory.
inline constexpr int maxRowsInFlight = 8;

/// Doubles that a walk needs in Walk::scratch: reference and model values of the rows in flight.
inline long scratchDoubles(int rowLength) {
  return 2L * maxRowsInFlight * rowLength;
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
};

/// The table for the processor at hand.
const KernelTable& kernels();

extern const KernelTable portableKernels;

}  // namespace voxreg::detail
