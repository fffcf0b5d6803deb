#pragma once

#include <cstdint>

#include "functional/kernels/walk.h"

namespace voxreg::detail {

/// One axis of a tensor-product map.
struct TensorAxis {
  int numControls;        ///< at least 4
  const int* cell;        ///< of each reference voxel: the first of the four controls that move it
  const double* weights;  ///< four for each reference voxel
  const double* local;    ///< of each reference voxel: its coordinate t in the cell
};

/// A map from reference voxels to positions in model voxels:
///   T(x, y, z) = sum over a, b, c of wx_a(x) wy_b(y) wz_c(z) control(cell_x + a, cell_y + b, ...).
/// Uniform cubic B-splines are of this form, and a matrix with the weights 1, x, 0, 0. Cells rise
/// with the voxels. The tables of the x axis hold groupSize voxels beyond the last, of its cell.
struct TensorMap {
  using Derivative = double;

  TensorAxis axes[3];
  const double* controls;  ///< x fastest, then y, z, and the component slowest
  double toPowers[4][4];   ///< row k: the coefficient of t^k from a cell's four controls, along x
};

/// Positions in model voxels, start + x step[0] + y step[1] + z step[2].
struct VoxelMatrix {
  double start[3];
  double step[3][3];  ///< for each axis of the reference, by the model's
};

/// A map that gives each reference voxel a displacement of its own on top of a matrix.
struct FieldMap {
  using Derivative = float;

  VoxelMatrix matrix;
  const float* displacement;  ///< model voxels: x fastest, component slowest; none at NaN
};

/// Voxels that are sampled together, whatever the number of lanes. Sums of a row keep one subtotal
/// for each of them, so they round alike on every instruction set.
inline constexpr int groupSize = 8;

/// What a walk that compares the reference with the mapped model goes by.
template <class Map>
struct DerivativeFrame {
  Walk walk;              ///< volumes, rowStep and step[0] (hints); the box is ignored
  const IndexSpan* rows;  ///< voxels of each reference row, y fastest; null for whole rows
  Map map;
};

/// Sums over the samples, d = reference - model.
struct SampleSums {
  double count = 0.0;
  double reference = 0.0;
  double model = 0.0;
  double referenceSq = 0.0;
  double modelSq = 0.0;
  double product = 0.0;
  double differenceSq = 0.0;
};

/// Derivative of a metric by the model's value: byReference * r + byModel * m + constant.
struct LinearRule {
  double byReference;
  double byModel;
  double constant;
};

/// The same by a joint histogram: `slopes` holds, for each of its rows, the derivative in the
/// interval between two neighbouring columns, and two rows of zeros for values beyond the outermost
/// columns.
struct HistogramRule {
  HistogramAxis rows;
  HistogramAxis columns;
  const double* slopes;  ///< (rows.count + 2) * (columns.count - 1)
};

/// What a group of samples adds to a gradient once the derivative of the metric is known.
struct alignas(32) KeptGroup {
  float slopes[3][groupSize];      ///< of the model along its axes; 0 without a sample
  float rowShares[groupSize];      ///< of the upper row of the histogram
  std::int32_t places[groupSize];  ///< in the table of slopes
};

/// The samples of a walk, kept for a second pass.
struct KeptSamples {
  KeptGroup* groups;
  int* x;          ///< first voxel of each group
  int* rowCounts;  ///< groups of each reference row of the walk's slices
};

/// Doubles along x of a row of controls in working memory.
static constexpr std::int64_t paddedControls(const TensorMap& map) {
  return (map.axes[0].numControls + 2 * groupSize - 1) / groupSize * groupSize;
}

/// Doubles of working memory that a walk of a map takes.
static constexpr std::int64_t derivativeScratch(const TensorMap& map) {
  const std::int64_t cy = map.axes[1].numControls;
  return paddedControls(map) * (6 * (cy + 1) + 12);
}

static constexpr std::int64_t derivativeScratch(const FieldMap&) {
  return 0;
}

/// The walks over the slices of a span, by the model's voxelTypeIndex. Samples are voxels with a
/// finite reference value whose position is at most half a voxel beyond the model's outermost
/// voxels, whose values hold there, and whose sample is finite. `scratch` is derivativeScratch
/// doubles, aligned to 64 bytes. A gradient by controls, in their order, is added to `gradient`;
/// one by a field, in its order, replaces the slices' part of it.
template <class Map>
struct DerivativeWalks {
  using Frame = DerivativeFrame<Map>;
  using Derivative = typename Map::Derivative;

  /// Sums of the samples.
  void (*sums[numVoxelTypes])(const Frame&, const IndexSpan& slices, double* scratch, SampleSums&);

  /// Squared differences, and their gradient by a rule.
  void (*linear[numVoxelTypes])(const Frame&, const IndexSpan& slices, double* scratch,
                                const LinearRule&, SampleSums&, Derivative* gradient);

  /// The joint histogram.
  void (*histogram[numVoxelTypes])(const Frame&, const IndexSpan& slices, double* scratch,
                                   HistogramSums&);

  /// The same, and the samples for `kept`.
  void (*histogramKeeping[numVoxelTypes])(const Frame&, const IndexSpan& slices, double* scratch,
                                          HistogramSums&, const KeptSamples&);

  /// The gradient of kept samples by a histogram's rule.
  void (*kept)(const Frame&, const IndexSpan& slices, double* scratch, const HistogramRule&,
               const KeptSamples&, Derivative* gradient);
};

/// The walks of one instruction set.
struct DerivativeKernels {
  DerivativeWalks<TensorMap> tensors;
  DerivativeWalks<FieldMap> fields;
};

extern const DerivativeKernels portableDerivatives;
extern const DerivativeKernels avx2Derivatives;
extern const DerivativeKernels avx512Derivatives;

}  // namespace voxreg::detail
