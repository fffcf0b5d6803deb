#pragma once

#include "foundation/simd/instructionSets.h"

namespace voxreg::detail {

/// Voxels of larger magnitude are absent from all windows, so that no product overflows.
inline constexpr float largestCorrelated = 1e6f;

inline constexpr int maxCorrelationRadius = 4;

/// The kinds of row, in their order.
struct InputRow {
  static constexpr int reference = 0;
  static constexpr int warped = 1;
  static constexpr int present = 2;  ///< 1 or 0; where it is 0, so are the others
  static constexpr int count = 3;
};

/// Sums over the present voxels of a window.
struct WindowSum {
  static constexpr int present = 0;
  static constexpr int reference = 1;
  static constexpr int warped = 2;
  static constexpr int referenceSquares = 3;
  static constexpr int products = 4;
  static constexpr int warpedSquares = 5;
  static constexpr int count = 6;
};

/// The factors of a window in the derivative by a voxel of it: a r + b m + k.
struct WindowFactor {
  static constexpr int ofReference = 0;
  static constexpr int ofWarped = 1;
  static constexpr int constant = 2;
  static constexpr int count = 3;
};

/// What to make of the sums of a window.
struct CorrelationRule {
  float eps;             ///< added to the variances of one voxel
  float smallestCommon;  ///< covariances below are taken as this: 0, or -infinity for any sign
};

/// Rows that the derivatives of one row of voxels are formed from.
struct ForceRows {
  const float* factors;  ///< WindowFactors summed across the row
  const float* input;    ///< InputRows
  const float* counting;
  const float* inputBeside[2][2];  ///< those before and after along y, z
};

/// Loops over rows of voxels with windows of one radius. Sums along rows read `radius` values on
/// either side. A row's size is a multiple of rowBlock, except where said. Rows of several kinds
/// are `stride` apart.
struct WindowKernels {
  /// The WindowSums of 2 * radius + 1 voxels across rows, of InputRows.
  void (*addProducts)(const float* const* rows, int n, long stride, float* sums);
  /// The sums of 2 * radius + 1 voxels across rows, for several kinds of row.
  void (*addRows)(const float* const* rows, int kinds, int n, long stride, float* sums);
  /// The WindowFactors of the windows around the voxels that count, 0 for others, from WindowSums
  /// across the row; adds the squared correlations and the number of these windows to the columns.
  void (*correlate)(const float* sums, const float* counting, int n, long stride,
                    const CorrelationRule& rule, float* factors, double* squares, int* counted);
  /// Any size.
  void (*findForces)(const ForceRows& rows, int n, long stride, float* const* force);
};

struct LocalCorrelationKernels {
  /// Copies a row of any size, with 0 for voxels that are absent from one of the volumes.
  void (*copyPresent)(const float* reference, const float* warped, int n, float* referenceCopy,
                      float* warpedCopy, float* present);
  /// 1 for the voxels that are present and count, otherwise 0. Any size.
  void (*markCounting)(const unsigned char* counts, const float* present, int n, float* counting);
  WindowKernels ofRadius[maxCorrelationRadius];  ///< from 1
};

inline constexpr int rowBlock = 16;  ///< values, a cache line

extern const LocalCorrelationKernels portableLocalCorrelation;
extern const LocalCorrelationKernels avx2LocalCorrelation;
extern const LocalCorrelationKernels avx512LocalCorrelation;

/// The kernels of one instruction set; null if this machine or build lacks it.
const LocalCorrelationKernels* localCorrelationKernelsFor(InstructionSet set);

/// The fastest kernels for this machine.
const LocalCorrelationKernels& localCorrelationKernels();

}  // namespace voxreg::detail
