#pragma once

#include "foundation/simd/instructionSets.h"

namespace voxreg::detail {

/// Voxels of larger magnitude are absent from all windows, so that no product overflows.
inline constexpr float largestCorrelated = 1e6f;

inline constexpr int maxCorrelationRadius = 4;

/// The sums over a window, in the order of the rows that hold them.
struct WindowSum {
  enum { present, reference, warped, referenceSquares, products, warpedSquares, count };
};

/// The factors of a window in the derivative by a voxel of it: a r + b m + k.
struct WindowFactor {
  enum { ofReference, ofWarped, constant, count };
};

/// What to make of the sums of a window.
struct CorrelationRule {
  float eps;             ///< added to the variances of one voxel
  float smallestCommon;  ///< covariances below are taken as this: 0, or -infinity for any sign
};

/// Rows that the derivatives of one row of voxels are formed from.
struct ForceRows {
  const float* factors[WindowFactor::count];  ///< sums across the row
  const float* reference;
  const float* warped;
  const float* present;
  const float* counting;
  const float* warpedBeside[2][2];  ///< the rows before and after along y, z
  const float* presentBeside[2][2];
};

/// Loops over rows of voxels with windows of one radius. Sums along rows read `radius` values on
/// either side. A row's size is a multiple of rowBlock, except where said.
struct WindowKernels {
  /// The sums of the rows' values over 2 * radius + 1 rows. `sums` has them `stride` apart.
  void (*addProducts)(const float* const* reference, const float* const* warped,
                      const float* const* present, int n, float* sums, long stride);
  /// The sum of 2 * radius + 1 rows.
  void (*addRows)(const float* const* rows, int n, float* sum);
  /// The factors of the windows around the voxels that count, 0 for others, from sums across the
  /// row; adds the squared correlations and the number of these windows to the columns.
  void (*correlate)(const float* const* sums, const float* counting, int n,
                    const CorrelationRule& rule, float* const* factors, double* squares,
                    int* counted);
  /// Any size.
  void (*findForces)(const ForceRows& rows, int n, float* const* force);
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
