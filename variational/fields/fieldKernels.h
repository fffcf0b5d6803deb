#pragma once

#include <cstdint>

#include "foundation/NmVec.h"
#include "foundation/simd/instructionSets.h"

namespace voxreg::detail {

/// Floats to a multiple of which lines in scratch memory are padded: at least the widest register.
inline constexpr int linePadding = 16;

/// Lines that a filter makes at once.
inline constexpr int linesTogether = 4;

/// The centre of a symmetric filter and one half of it.
struct FilterTaps {
  const float* weights;  ///< of the distances 0 to radius
  int radius;
};

/// Memory for `smooth`; a line has `stride` floats, of which the last may be padding.
struct SmoothingScratch {
  int stride;
  float* row;           ///< stride and the radius along x at either end
  float* slice;         ///< a line for each y
  float* ring;          ///< `ringSlices` slices
  int ringSlices;       ///< at least min(2 * radius along z + linesTogether, slices)
  const float** lines;  ///< 2 * the largest radius + linesTogether
};

/// Operations on dense fields, x fastest. No value, NaN included, makes them read outside.
struct FieldKernels {
  /// Filters a volume in place along x, y and z. Values outside are those at the border.
  void (*smooth)(float* volume, const NmVec3i& dims, const FilterTaps (&taps)[3],
                 const SmoothingScratch& scratch);

  /// Slice z of a volume at x + u(x), trilinear, positions clamped to the grid.
  void (*warpSlice)(const float* volume, const float* const (&displacement)[3], const NmVec3i& dims,
                    int z, float* warped);

  /// Slice z of update(x) + field(x + update(x)).
  void (*composeSlice)(const float* const (&update)[3], const float* const (&field)[3],
                       const NmVec3i& dims, int z, float* const (&composed)[3]);

  /// The smallest one-sided determinant at voxels first to end - 1 of a row, -infinity where the
  /// displacement is NaN. `scratch` takes 3 * (end - first + 1 + linePadding) floats.
  void (*determinants)(const float* const (&field)[3], const NmVec3i& dims, int first, int end,
                       int y, int z, float* scratch, float* smallest);

  /// The smallest of some values; -infinity if one is NaN, infinity of none.
  float (*lowest)(const float* values, std::int64_t n);

  /// Improves a row v(y) of the inverse, in place, from what is there, until the square of
  /// |v(y) + field(y + v(y))| is at most `enough`, in a few steps. Writes the squares, which may be
  /// NaN, as v may.
  void (*invertRow)(const float* const (&field)[3], const NmVec3i& dims, int y, int z, float enough,
                    float* const (&inverse)[3], float* error);
};

extern const FieldKernels portableFieldKernels;
extern const FieldKernels avx2FieldKernels;
extern const FieldKernels avx512FieldKernels;

/// The kernels of one instruction set; null if this machine or build lacks it.
const FieldKernels* fieldKernelsFor(InstructionSet set);

/// The fastest kernels for this machine.
const FieldKernels& fieldKernels();

}  // namespace voxreg::detail
